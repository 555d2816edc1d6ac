# SPDX-License-Identifier: GPL-3.0-or-later
#
# Uses the player as assistive technology does, over AT-SPI: prints each object of its window as
# "role|name|description|focusable|actions|value range", presses the pause button, moves the scrubber
# and presses a key that has a notice, and prints what changed. Exits with 77 where AT-SPI cannot be
# used from Python.

import sys
import time

try:
    import gi

    gi.require_version("Atspi", "2.0")
    from gi.repository import Atspi, GLib
except (ImportError, ValueError) as error:
    print(error)
    sys.exit(77)

LIMIT_IN_SECONDS = 30


def wait_for(find):
    deadline = time.monotonic() + LIMIT_IN_SECONDS
    while True:
        while GLib.MainContext.default().iteration(False):
            pass
        found = find()
        if found is not None or time.monotonic() > deadline:
            return found
        time.sleep(0.05)


def children(node):
    return [child for child in map(node.get_child_at_index, range(node.get_child_count())) if child]


def descendants(node):
    for child in children(node):
        yield child
        yield from descendants(child)


def player_window():
    for application in children(Atspi.get_desktop(0)):
        if application.get_name() == "zelvane-player":
            for window in children(application):
                # The controls are complete when the clock runs.
                if find(window, "button", "Pause"):
                    return window
    return None


def find(window, role, name):
    for node in descendants(window):
        node.clear_cache()
        if node.get_role_name() in (role, "push " + role) and node.get_name() == name:
            return node
    return None


def actions(node):
    return [node.get_action_name(i) for i in range(node.get_n_actions())]


def act(node, name):
    node.do_action(actions(node).index(name))


def describe(node):
    has_value = "Value" in node.get_interfaces()
    focusable = node.get_state_set().contains(Atspi.StateType.FOCUSABLE)
    return "|".join(
        [
            node.get_role_name(),
            node.get_name(),
            node.get_description(),
            "focusable" if focusable else "",
            ",".join(actions(node)) if "Action" in node.get_interfaces() else "",
            f"{node.get_minimum_value():g}..{node.get_maximum_value():g}" if has_value else "",
        ]
    )


def reaches(slider, value):
    return wait_for(lambda: abs(slider.get_current_value() - value) < 0.1 or None)


announcements = []
listener = Atspi.EventListener.new(lambda event: announcements.append(event.any_data))
listener.register("object:announcement")

window = wait_for(player_window)
if window is None:
    sys.exit("no window of the player in the tree")
print(describe(window))
for node in descendants(window):
    print(describe(node))

act(find(window, "button", "Pause"), "Press")
if wait_for(lambda: find(window, "button", "Play")):
    print("pressing Pause makes it Play")

scrubber = find(window, "slider", "Scrubber")
scrubber.set_current_value(100)
if reaches(scrubber, 100):
    print("the scrubber is at", find(window, "slider", "Scrubber").get_description())
act(scrubber, "Increase")
if reaches(scrubber, 110):
    print("an increment is 5 % of 200 s")

Atspi.generate_keyboard_event(ord("m"), None, Atspi.KeySynthType.SYM)
if wait_for(lambda: announcements or None):
    print("spoken:", announcements[0])
