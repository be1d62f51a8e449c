#!/usr/bin/python3
# Reads a tray item's menu over com.canonical.dbusmenu.
#   dbusmenu.py SERVICE PATH list            -> one line per entry: depth, label, enabled
#   dbusmenu.py SERVICE PATH click SUB ENTRY -> clicks ENTRY inside the submenu whose label starts with SUB
import sys
import time

import dbus

service, path, command = sys.argv[1:4]
bus = dbus.SessionBus()
item = bus.get_object(service, path)
menu_path = item.Get("org.kde.StatusNotifierItem", "Menu", dbus_interface=dbus.PROPERTIES_IFACE)
menu = dbus.Interface(bus.get_object(service, menu_path), "com.canonical.dbusmenu")
_, layout = menu.GetLayout(0, -1, dbus.Array([], signature="s"))


def label(node):
    return str(node[1].get("label", "")).replace("_", "")


def walk(node, depth=0):
    for child in node[2]:
        yield depth, child
        yield from walk(child, depth + 1)


if command == "list":
    for depth, node in walk(layout):
        if node[1].get("type") == "separator":
            continue
        print(f"{depth}|{label(node)}|{bool(node[1].get('enabled', True))}")
elif command == "click":
    sub, entry = sys.argv[4:6]
    for depth, node in walk(layout):
        if depth == 0 and label(node).startswith(sub):
            # Qt fills a submenu when it is about to be shown.
            menu.AboutToShow(node[0])
            _, subtree = menu.GetLayout(node[0], -1, dbus.Array([], signature="s"))
            for child in subtree[2]:
                if label(child) == entry:
                    menu.Event(child[0], "clicked", dbus.String("", variant_level=1), dbus.UInt32(int(time.time())))
                    print("clicked")
                    sys.exit(0)
    sys.exit(f"no entry {entry!r} under {sub!r}")
