#!/usr/bin/python3
"""Works the manager's window like an operator: finds things by what a screen reader is told of them,
and uses them with mouse and keys.

window.py update DEVICE FILE     selects the device in the list, presses "Update", picks the file
window.py await TEXT             ends when some cell or field of the window reads TEXT
window.py search KEY...          types into the search box, and prints what it reads then
window.py dialog                 asks for a file, and prints whether a dialog came within 5 s
"""
import subprocess
import sys
import time

import gi
gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

APPLICATION = "VELMARK Network Manager"


def all_nodes(node, depth=0):
    if node is None or depth > 20:
        return
    yield node
    for index in range(node.get_child_count()):
        yield from all_nodes(node.get_child_at_index(index), depth + 1)


def nodes_of_application():
    desktop = Atspi.get_desktop(0)
    for index in range(desktop.get_child_count()):
        application = desktop.get_child_at_index(index)
        # Nobody reads the events that would keep the cache up to date.
        if application:
            application.clear_cache()
        if application and application.get_name() == APPLICATION:
            yield from all_nodes(application)


def text_of(node):
    if "Text" in Atspi.Accessible.get_interfaces(node):
        return Atspi.Text.get_text(node, 0, -1)
    return node.get_name()


def is_showing(node):
    return node.get_state_set().contains(Atspi.StateType.SHOWING)


def await_node(what, condition, seconds=20):
    """The first node that the condition holds for. Nodes may go while they are looked at."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        try:
            for node in nodes_of_application():
                if condition(node):
                    return node
        except GLib.Error:
            pass
        time.sleep(0.1)
    sys.exit(f"The window shows no {what}. It shows:\n" + "\n".join(
        f"{node.get_role_name()} \"{text_of(node)}\"" for node in nodes_of_application()
        if is_showing(node) and text_of(node)))


def xdotool(*words):
    subprocess.run(["xdotool", *words], check=True)


def click(node):
    place = Atspi.Component.get_extents(node, Atspi.CoordType.SCREEN)
    xdotool("mousemove", str(place.x + min(place.width // 2, 40)),
            str(place.y + place.height // 2), "click", "1")


def await_cell(text):
    return await_node(f"cell \"{text}\"", lambda node: node.get_role() == Atspi.Role.TABLE_CELL
                      and node.get_name() == text and is_showing(node))


def await_button(name):
    return await_node(f"button \"{name}\"", lambda node: node.get_role() == Atspi.Role.PUSH_BUTTON
                      and node.get_name() == name and is_showing(node)
                      and node.get_state_set().contains(Atspi.StateType.ENABLED))


def focus(title):
    """There is no window manager: keys go where they are told to go."""
    found = subprocess.run(["xdotool", "search", "--sync", "--onlyvisible", "--name", title],
                           check=True, capture_output=True, text=True, timeout=20)
    xdotool("windowfocus", "--sync", found.stdout.split()[-1])


def update(device, path):
    cell = await_cell(device)
    focus(APPLICATION)
    click(cell)
    click(await_button("Update"))
    await_node("file dialog", lambda node: node.get_role() in (Atspi.Role.DIALOG,
                                                               Atspi.Role.FILE_CHOOSER)
               and is_showing(node))
    xdotool("type", path)
    xdotool("key", "Return")


def search(keys):
    box = await_node("search box", lambda node: node.get_name() == "Search" and is_showing(node))
    focus(APPLICATION)
    click(box)
    time.sleep(1)  # input methods take their time to notice
    for key in keys:
        xdotool("key", key)
    time.sleep(1)
    print(next((text_of(node) for node in all_nodes(box)
                if node.get_role() == Atspi.Role.TEXT), ""))


def has_dialog():
    return any(node.get_role() in (Atspi.Role.DIALOG, Atspi.Role.FILE_CHOOSER) and is_showing(node)
               for node in nodes_of_application())


def dialog():
    focus(APPLICATION)
    xdotool("key", "ctrl+p")
    end = time.monotonic() + 5
    while time.monotonic() < end and not has_dialog():
        time.sleep(0.2)
    time.sleep(1)  # one that is refused vanishes again
    print("yes" if has_dialog() else "no")


if __name__ == "__main__":
    Atspi.init()
    if sys.argv[1] == "update":
        update(*sys.argv[2:])
    elif sys.argv[1] == "search":
        search(sys.argv[2:])
    elif sys.argv[1] == "dialog":
        dialog()
    else:
        await_node(f"\"{sys.argv[2]}\"", lambda node: is_showing(node)
                   and text_of(node) == sys.argv[2])
