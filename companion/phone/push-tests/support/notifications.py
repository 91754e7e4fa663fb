#!/usr/bin/python3
# Shows the notifications of the bus that it is started on to whoever reads its output, one line of JSON each, and presses their
# buttons: "invoke ID KEY" or "close ID" on a line of its input.
import json
import sys
import threading

from gi.repository import Gio, GLib

NAME = "org.freedesktop.Notifications"
PATH = "/org/freedesktop/Notifications"
INTERFACE = Gio.DBusNodeInfo.new_for_xml(
    """<node><interface name="org.freedesktop.Notifications">
    <method name="GetCapabilities"><arg type="as" direction="out"/></method>
    <method name="GetServerInformation"><arg type="s" direction="out"/><arg type="s" direction="out"/>
      <arg type="s" direction="out"/><arg type="s" direction="out"/></method>
    <method name="Notify"><arg type="s" direction="in"/><arg type="u" direction="in"/><arg type="s" direction="in"/>
      <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="as" direction="in"/>
      <arg type="a{sv}" direction="in"/><arg type="i" direction="in"/><arg type="u" direction="out"/></method>
    <method name="CloseNotification"><arg type="u" direction="in"/></method>
    <signal name="ActionInvoked"><arg type="u"/><arg type="s"/></signal>
    <signal name="NotificationClosed"><arg type="u"/><arg type="u"/></signal>
    </interface></node>"""
).interfaces[0]

connection = None
newest = 0


def say(**event):
    print(json.dumps(event), flush=True)


def signal(name, value):
    connection.emit_signal(None, PATH, NAME, name, value)


def called(_connection, _sender, _path, _interface, method, parameters, invocation):
    global newest
    if method == "GetCapabilities":
        return invocation.return_value(GLib.Variant("(as)", (["actions", "body", "persistence"],)))
    if method == "GetServerInformation":
        return invocation.return_value(GLib.Variant("(ssss)", ("test", "test", "1", "1.2")))
    if method == "CloseNotification":
        (number,) = parameters.unpack()
        invocation.return_value(None)
        say(event="closed", id=number)
        return signal("NotificationClosed", GLib.Variant("(uu)", (number, 3)))
    _app, replaced, _icon, title, body, actions, _hints, _timeout = parameters.unpack()
    newest += 1
    number = replaced or newest
    invocation.return_value(GLib.Variant("(u)", (number,)))
    return say(event="shown", id=number, title=title, body=body, actions=actions)


def invoke(number, key):
    signal("ActionInvoked", GLib.Variant("(us)", (number, key)))
    return False


def close(number):
    signal("NotificationClosed", GLib.Variant("(uu)", (number, 2)))
    return False


def listen(loop):
    for line in sys.stdin:
        words = line.split()
        if words[0] == "invoke":
            GLib.idle_add(invoke, int(words[1]), words[2])
        if words[0] == "close":
            GLib.idle_add(close, int(words[1]))
    loop.quit()


def acquired(bus, _name):
    global connection
    connection = bus
    bus.register_object(PATH, INTERFACE, called, None, None)


main_loop = GLib.MainLoop()
Gio.bus_own_name(
    Gio.BusType.SESSION, NAME, Gio.BusNameOwnerFlags.NONE, acquired, lambda *_: say(event="ready"), lambda *_: main_loop.quit()
)
threading.Thread(target=listen, args=(main_loop,), daemon=True).start()
main_loop.run()
