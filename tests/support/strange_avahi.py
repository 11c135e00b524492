"""Takes avahi-daemon's place on the system bus, and answers what it is told to, of any signature.

Usage: strange_avahi.py ANSWERS, a JSON object: {method: [signature, arguments, signal...]}, each signal [path,
interface's last part, member, signature, arguments], sent behind the answer. Writes a line when it answers.
"""
import json
import os
import sys

import dbus
import dbus.bus
import dbus.lowlevel
import dbus.mainloop.glib
from gi.repository import GLib

AVAHI = "org.freedesktop.Avahi"
ANSWERS = json.loads(sys.argv[1])


def handle(connection, message):
    if not isinstance(message, dbus.lowlevel.MethodCallMessage) or message.get_member() not in ANSWERS:
        return dbus.lowlevel.HANDLER_RESULT_NOT_YET_HANDLED
    signature, arguments, *signals = ANSWERS[message.get_member()]
    answer = dbus.lowlevel.MethodReturnMessage(message)
    answer.append(*arguments, signature=signature)
    connection.send_message(answer)
    for path, interface, member, kinds, values in signals:
        signal = dbus.lowlevel.SignalMessage(path, f"{AVAHI}.{interface}", member)
        signal.append(*values, signature=kinds)
        connection.send_message(signal)
    return dbus.lowlevel.HANDLER_RESULT_HANDLED


if __name__ == "__main__":
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.bus.BusConnection(os.environ["DBUS_SYSTEM_BUS_ADDRESS"])
    bus.add_message_filter(handle)
    bus.request_name(AVAHI)
    print("answers", flush=True)
    GLib.MainLoop().run()
