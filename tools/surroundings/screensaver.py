"""A screen saver on the session bus that tells who holds it off.

A program of its own, which bus.py starts. It prints "ready" when it can be asked.
"""

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib


class ScreenSaver(dbus.service.Object):
    """Like those of desktops: one that goes from the bus holds it off no longer."""

    def __init__(self, bus):
        super().__init__(bus, "/org/freedesktop/ScreenSaver")
        self.holders = {}
        bus.add_signal_receiver(self.name_owner_changed, "NameOwnerChanged",
                                "org.freedesktop.DBus")

    @dbus.service.method("org.freedesktop.ScreenSaver", "ss", "u", sender_keyword="sender")
    def Inhibit(self, name, _reason, sender=None):
        self.holders[sender] = name
        return dbus.UInt32(len(self.holders))

    @dbus.service.method("org.freedesktop.ScreenSaver", "u", "", sender_keyword="sender")
    def UnInhibit(self, _cookie, sender=None):
        self.holders.pop(sender, None)

    @dbus.service.method("org.pixmoth.Test", "", "u")
    def Holders(self):
        return dbus.UInt32(len(self.holders))

    def name_owner_changed(self, name, _old, new):
        if not new:
            self.holders.pop(name, None)


def main():
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    ScreenSaver(bus)
    # Kept in a variable: the name goes with the object.
    name = dbus.service.BusName("org.freedesktop.ScreenSaver", bus)
    print("ready", flush=True)
    GLib.MainLoop().run()
    del name


if __name__ == "__main__":
    main()
