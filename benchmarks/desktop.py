# SPDX-License-Identifier: GPL-3.0-or-later
"""A private virtual desktop: an X server, a window manager and a sound server with a null sink. Reads
pixels, finds windows, and sends input through the XTEST extension, alike for all players."""
import contextlib
import ctypes
import os
import pathlib
import subprocess
import tempfile
import time

WIDTH, HEIGHT = 1920, 1200
LEFT_BUTTON = 1
ZPIXMAP = 2
ALL_PLANES = ctypes.c_ulong(~0)


class XImage(ctypes.Structure):
    """The first members of Xlib's XImage."""
    _fields_ = [("width", ctypes.c_int), ("height", ctypes.c_int), ("xoffset", ctypes.c_int),
                ("format", ctypes.c_int), ("data", ctypes.c_void_p), ("byte_order", ctypes.c_int),
                ("bitmap_unit", ctypes.c_int), ("bitmap_bit_order", ctypes.c_int),
                ("bitmap_pad", ctypes.c_int), ("depth", ctypes.c_int),
                ("bytes_per_line", ctypes.c_int)]


def libraries():
    x11, xtst = ctypes.CDLL("libX11.so.6"), ctypes.CDLL("libXtst.so.6")
    for function in (x11.XOpenDisplay, x11.XDefaultRootWindow, x11.XInternAtom):
        function.restype = ctypes.c_void_p
    x11.XGetImage.restype = ctypes.POINTER(XImage)
    x11.XStringToKeysym.restype = ctypes.c_ulong
    return x11, xtst


ErrorHandler = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)


class Screen:
    """A connection to an X server. Coordinates are those of the root window, in pixels."""

    # A window may be gone when it is read; Xlib's own handler ends the process then.
    ignore_errors = ErrorHandler(lambda display, event: 0)

    def __init__(self, name):
        self.x11, self.xtst = libraries()
        self.x11.XSetErrorHandler(self.ignore_errors)
        self.display = ctypes.c_void_p(self.x11.XOpenDisplay(name.encode()))
        if not self.display:
            raise RuntimeError(f"the display {name} is not available")
        self.root = ctypes.c_ulong(self.x11.XDefaultRootWindow(self.display))
        self.pressed = []

    def close(self):
        self.x11.XCloseDisplay(self.display)

    @contextlib.contextmanager
    def frozen(self):
        """No other client changes the screen meanwhile. Keep it short."""
        self.x11.XGrabServer(self.display)
        try:
            yield
        finally:
            self.x11.XUngrabServer(self.display)
            self.x11.XFlush(self.display)

    def pixels(self, x, y, width, height):
        """The pixels row by row, four bytes each: blue, green, red, unused. The area is clipped to the
        screen; the length of the answer shows it."""
        x, y = max(x, 0), max(y, 0)
        width, height = min(width, WIDTH - x), min(height, HEIGHT - y)
        if width <= 0 or height <= 0:
            return b""
        image = self.x11.XGetImage(self.display, self.root, x, y, width, height, ALL_PLANES, ZPIXMAP)
        if not image:
            return b""
        content = ctypes.string_at(image.contents.data, image.contents.bytes_per_line * height)
        self.x11.XFree(ctypes.c_void_p(image.contents.data))
        self.x11.XFree(image)
        return content

    def property(self, window, name):
        """The 32-bit items of a property; empty when the window does not have it."""
        atom = ctypes.c_ulong(self.x11.XInternAtom(self.display, name.encode(), 0))
        kind, size = ctypes.c_ulong(), ctypes.c_int()
        count, rest, data = ctypes.c_ulong(), ctypes.c_ulong(), ctypes.c_void_p()
        status = self.x11.XGetWindowProperty(
            self.display, window, atom, ctypes.c_long(0), ctypes.c_long(256), 0, ctypes.c_ulong(0),
            ctypes.byref(kind), ctypes.byref(size), ctypes.byref(count), ctypes.byref(rest),
            ctypes.byref(data))
        if status != 0 or not data:
            return []
        # Xlib stores items of 32 bits as longs.
        items = list((ctypes.c_ulong * count.value).from_address(data.value))
        self.x11.XFree(data)
        return items

    def window_of(self, pid):
        """The managed window of a process; None before it is there."""
        for window in self.property(self.root, "_NET_CLIENT_LIST"):
            if self.property(ctypes.c_ulong(window), "_NET_WM_PID") == [pid]:
                return ctypes.c_ulong(window)
        return None

    def rectangle(self, window):
        """x, y, width, height of a window without its frame; None when it is gone."""
        root, child = ctypes.c_ulong(), ctypes.c_ulong()
        x, y = ctypes.c_int(), ctypes.c_int()
        width, height = ctypes.c_uint(), ctypes.c_uint()
        border, depth = ctypes.c_uint(), ctypes.c_uint()
        if not self.x11.XGetGeometry(self.display, window, ctypes.byref(root), ctypes.byref(x),
                                     ctypes.byref(y), ctypes.byref(width), ctypes.byref(height),
                                     ctypes.byref(border), ctypes.byref(depth)):
            return None
        self.x11.XTranslateCoordinates(self.display, window, self.root, 0, 0, ctypes.byref(x),
                                       ctypes.byref(y), ctypes.byref(child))
        return x.value, y.value, width.value, height.value

    def move_pointer(self, x, y):
        self.xtst.XTestFakeMotionEvent(self.display, -1, round(x), round(y), ctypes.c_ulong(0))
        self.x11.XFlush(self.display)

    def button(self, is_pressed, number=LEFT_BUTTON):
        self.xtst.XTestFakeButtonEvent(self.display, number, int(is_pressed), ctypes.c_ulong(0))
        self.x11.XFlush(self.display)

    def press_key(self, name, *modifiers):
        codes = [self.x11.XKeysymToKeycode(self.display, ctypes.c_ulong(
            self.x11.XStringToKeysym(key.encode()))) for key in (*modifiers, name)]
        for code in codes:
            self.xtst.XTestFakeKeyEvent(self.display, code, 1, ctypes.c_ulong(0))
        for code in reversed(codes):
            self.xtst.XTestFakeKeyEvent(self.display, code, 0, ctypes.c_ulong(0))
        self.x11.XFlush(self.display)


def waited_for(condition, what, limit=30.0, interval=0.01):
    """The first true value of the condition."""
    deadline = time.monotonic() + limit
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise RuntimeError(f"{what} not within {limit:.0f} s")
        time.sleep(interval)


class Desktop:
    """The servers and their screen. Use as a context manager."""

    def __enter__(self):
        self.stack = contextlib.ExitStack()
        with contextlib.ExitStack() as undo:
            undo.callback(self.stack.close)
            self.folder = self.stack.enter_context(tempfile.TemporaryDirectory())
            self.environment = self.environment_of_players()
            self.start_screen()
            self.start_sound()
            undo.pop_all()
        return self

    def __exit__(self, *error):
        self.stack.close()

    def environment_of_players(self):
        """Own folders: the settings of the user must not change what is measured."""
        kept = {name: value for name, value in os.environ.items()
                if not name.startswith(("PULSE_", "XDG_", "QT_", "ZELVANE_")) and
                name not in ("WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "JOURNAL_STREAM")}
        return dict(kept, HOME=self.folder, XDG_RUNTIME_DIR=self.folder, QT_QPA_PLATFORM="xcb",
                    PULSE_SERVER=f"unix:{self.folder}/pulse.sock", LC_ALL="C.UTF-8")

    def start(self, command, **options):
        process = subprocess.Popen(command, env=self.environment, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)
        self.stack.callback(lambda: (process.terminate(), process.wait()))
        return process

    def start_screen(self):
        read, write = os.pipe()
        self.x_server = self.start(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", f"{WIDTH}x{HEIGHT}x24", "+extension",
             "GLX", "-nolisten", "tcp", "-noreset"], pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as file:
            number = file.readline().strip()
        if not number:
            raise RuntimeError("Xvfb does not start")
        self.environment["DISPLAY"] = f":{number}"
        self.screen = Screen(f":{number}")
        self.stack.callback(self.screen.close)
        self.start(["openbox", "--sm-disable"])
        waited_for(lambda: self.screen.property(self.screen.root, "_NET_SUPPORTING_WM_CHECK"),
                   "a window manager")

    def start_sound(self):
        socket = pathlib.Path(self.folder) / "pulse.sock"
        self.start(["pulseaudio", "-n", "--daemonize=no", "--fail=yes", "--exit-idle-time=-1",
                    "--use-pid-file=no", "--realtime=no", "--high-priority=no",
                    "-L", "module-null-sink rate=48000 channels=2",
                    "-L", f"module-native-protocol-unix socket={socket} auth-anonymous=1"])
        waited_for(socket.exists, "a sound server")
