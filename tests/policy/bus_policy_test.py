#!/usr/bin/python3
"""Tries, as each kind of user, what the policy of the system bus allows: owning names, reading, writing, and ways
around it. A provider named "demo" must be on the bus. Argument: "permissive" if the bus allows more than a system bus
does by itself, otherwise "strict"."""

import json
import os
import pwd
import sys

import dbus.bus
import dbus.lowlevel

PREFIX = "com.tolvek.orvan.deviceid"
DEMO = PREFIX + ".demo"
OBJECT = "/com/tolvek/orvan/deviceid"
INTERFACE = PREFIX + ".interface"
INTROSPECTABLE = "org.freedesktop.DBus.Introspectable"

# The technician is in the group deviceid, the visitor in no group that matters.
USERS = ["root", "deviceid", "technician", "visitor", "nobody"]
EVERYBODY = set(USERS)
OWNERS = {"root", "deviceid"}
WRITERS = {"root", "deviceid", "technician"}
NOBODY = set()

OWNED = [
    # name, who may own it on a strict bus, who on a permissive one
    (PREFIX + ".another", OWNERS, OWNERS),
    (PREFIX + ".another.deeper", OWNERS, OWNERS),
    (PREFIX, OWNERS, OWNERS),
    (PREFIX + "x.another", NOBODY, EVERYBODY),
    ("com.tolvek.orvan.another", NOBODY, EVERYBODY),
]

READ = ("deviceList", "", [])
READ_ONE = ("deviceId", "s", ["no such device"])
WRITE = ("setDeviceId", "ss", ["no such device", "<deviceid/>"])
INTROSPECT = ("Introspect", "", [])

CALLED = [
    # destination, path, interface, call, who may make it on a strict bus, who on a permissive one
    (DEMO, OBJECT, INTERFACE, READ, EVERYBODY, EVERYBODY),
    (DEMO, OBJECT, INTERFACE, READ_ONE, EVERYBODY, EVERYBODY),
    (DEMO, OBJECT, INTROSPECTABLE, INTROSPECT, EVERYBODY, EVERYBODY),
    (DEMO, "/", INTROSPECTABLE, INTROSPECT, EVERYBODY, EVERYBODY),
    (DEMO, OBJECT, INTERFACE, WRITE, WRITERS, WRITERS),
    # A call need not name an interface.
    (DEMO, OBJECT, None, READ, NOBODY, EVERYBODY),
    (DEMO, OBJECT, None, WRITE, NOBODY, NOBODY),
    (DEMO, OBJECT, "org.freedesktop.DBus.Properties", ("GetAll", "s", [INTERFACE]), NOBODY, EVERYBODY),
    (DEMO, OBJECT, "org.freedesktop.DBus.Peer", ("Ping", "", []), NOBODY, EVERYBODY),
]


def send(bus, destination, path, interface, call):
    member, signature, arguments = call
    message = dbus.lowlevel.MethodCallMessage(destination, path, interface, member)
    message.append(*arguments, signature=signature)
    try:
        bus.send_message_with_reply_and_block(message, 10)
        return "allowed"
    except dbus.exceptions.DBusException as error:
        return error.get_dbus_name().rsplit(".", 1)[-1]


def own(bus, name):
    try:
        bus.request_name(name)
        bus.release_name(name)
        return "allowed"
    except dbus.exceptions.DBusException as error:
        return error.get_dbus_name().rsplit(".", 1)[-1]


def trials():
    """Everything that one user tries, in order: what it is, and the function that tries it."""
    for name, _, _ in OWNED:
        yield f"own {name}", lambda bus, name=name: own(bus, name)
    for destination, path, interface, call, _, _ in CALLED:
        for kind in ["its name", "its unique name"]:
            def run(bus, kind=kind, destination=destination, path=path, interface=interface, call=call):
                target = destination if kind == "its name" else bus.get_name_owner(destination)
                return send(bus, target, path, interface, call)
            yield f"call {interface}.{call[0]} at {path} by {kind}", run


def expectations(is_permissive, user):
    """In the order of the trials: how each must end for that user."""
    for _, strict, permissive in OWNED:
        yield "allowed" if user in (permissive if is_permissive else strict) else "AccessDenied"
    for _, _, interface, _, strict, permissive in CALLED:
        # Let through by the bus, a call without an interface still finds no method in the provider.
        let_through = "allowed" if interface else "UnknownObject"
        result = let_through if user in (permissive if is_permissive else strict) else "AccessDenied"
        yield from [result, result]


def as_user(name, function):
    """What the function returns in a process of that user."""
    reader, writer = os.pipe()
    child = os.fork()
    if child == 0:
        try:
            account = pwd.getpwnam(name)
            os.initgroups(name, account.pw_gid)
            os.setgid(account.pw_gid)
            os.setuid(account.pw_uid)
            with os.fdopen(writer, "w") as pipe:
                json.dump(function(dbus.bus.BusConnection("unix:path=/run/dbus/system_bus_socket")), pipe)
        finally:
            os._exit(0)
    os.close(writer)
    with os.fdopen(reader) as pipe:
        result = json.load(pipe)
    os.waitpid(child, 0)
    return result


def check_table(is_permissive):
    tried, failures = 0, 0
    for user in USERS:
        results = as_user(user, lambda bus: [run(bus) for _, run in trials()])
        for (what, _), result, wanted in zip(trials(), results, expectations(is_permissive, user), strict=True):
            tried += 1
            if result != wanted:
                failures += 1
                print(f"{user}: {what}: {result}, but expected: {wanted}", file=sys.stderr)
    print(f"{tried} trials of {len(USERS)} users, {failures} otherwise than expected")
    return tried > 0 and failures == 0


if __name__ == "__main__":
    sys.exit(0 if check_table(sys.argv[1] == "permissive") else 1)
