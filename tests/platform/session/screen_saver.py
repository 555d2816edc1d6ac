# SPDX-License-Identifier: GPL-3.0-or-later
"""The screen saver of a desktop, for dbusmock."""

BUS_NAME = "org.freedesktop.ScreenSaver"
MAIN_OBJ = "/org/freedesktop/ScreenSaver"
MAIN_IFACE = BUS_NAME
SYSTEM_BUS = False


def load(mock, _parameters):
    mock.AddMethods(MAIN_IFACE, [("Inhibit", "ss", "u", "ret = 7"), ("UnInhibit", "u", "", "")])
