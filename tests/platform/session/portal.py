# SPDX-License-Identifier: GPL-3.0-or-later
"""The part of the desktop portal that keeps the display awake, for dbusmock."""

BUS_NAME = "org.freedesktop.portal.Desktop"
MAIN_OBJ = "/org/freedesktop/portal/desktop"
MAIN_IFACE = "org.freedesktop.portal.Inhibit"
SYSTEM_BUS = False

INHIBIT = """
ret = dbus.ObjectPath("/request")
self.AddObject(ret, "org.freedesktop.portal.Request", {}, [("Close", "", "", "")])
"""


def load(mock, _parameters):
    mock.AddMethods(MAIN_IFACE, [("Inhibit", "sua{sv}", "o", INHIBIT)])
