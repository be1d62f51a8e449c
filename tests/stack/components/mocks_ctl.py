#!/usr/bin/python3
"""Drives the python3-dbusmock services on the test stack's private system bus.

  mocks_ctl.py setup          adds the Wi-Fi device wlan0 (disconnected)
  mocks_ctl.py ssid [NAME]    joins the Wi-Fi network NAME (creating its access point and connection on
                              first use); without NAME (or with "") leaves Wi-Fi
  mocks_ctl.py sleep|resume   emits logind's PrepareForSleep(true|false)
  mocks_ctl.py power ac|battery   sets UPower's OnBattery (emitting PropertiesChanged)
  mocks_ctl.py notifications  prints the notifications posted to the session bus's mock, "title|body" each

Talks to the bus named by DBUS_SYSTEM_BUS_ADDRESS (the stack's env sets it).
"""
import sys
import time

import dbus

NM = 'org.freedesktop.NetworkManager'
NM_MAIN = '/org/freedesktop'
NM_MOCK = 'org.freedesktop.DBus.Mock'  # the templates' extra methods live on dbusmock's own interface
NM_MANAGER = '/org/freedesktop/NetworkManager'
WIRELESS = 'org.freedesktop.NetworkManager.Device.Wireless'
DEVICE = 'org.freedesktop.NetworkManager.Device'
DEVICE_PATH = '/org/freedesktop/NetworkManager/Devices/wlan0'
MOCK = 'org.freedesktop.DBus.Mock'
PROPS = 'org.freedesktop.DBus.Properties'
LOGIND = 'org.freedesktop.login1'
LOGIND_PATH = '/org/freedesktop/login1'
LOGIND_IFACE = 'org.freedesktop.login1.Manager'
STATE_DISCONNECTED = 30
ACTIVE_STATE_ACTIVATED = 2


def nm_mock(bus):
    return dbus.Interface(bus.get_object(NM, NM_MAIN), NM_MOCK)


def setup(bus):
    mock = nm_mock(bus)
    devices = bus.get_object(NM, NM_MANAGER).Get(NM, 'Devices', dbus_interface=PROPS)
    if DEVICE_PATH in [str(d) for d in devices]:
        return
    path = mock.AddWiFiDevice('wlan0', 'wlan0', STATE_DISCONNECTED)
    # The template's Wi-Fi device lacks ActiveAccessPoint, which real NetworkManager has.
    dbus.Interface(bus.get_object(NM, path), MOCK).AddProperty(WIRELESS, 'ActiveAccessPoint', dbus.ObjectPath('/'))


def object_name(ssid):
    # D-Bus object path elements allow [A-Za-z0-9_] only.
    return ssid.encode('utf-8').hex() or 'empty'


def join(bus, ssid):
    mock = nm_mock(bus)
    device = bus.get_object(NM, DEVICE_PATH)
    name = object_name(ssid)
    ap_path = '/org/freedesktop/NetworkManager/AccessPoint/ap_' + name
    conn_path = '/org/freedesktop/NetworkManager/Settings/conn_' + name
    known_aps = [str(p) for p in device.Get(WIRELESS, 'AccessPoints', dbus_interface=PROPS)]
    if ap_path not in known_aps:
        mock.AddAccessPoint(DEVICE_PATH, 'ap_' + name, ssid, '02:00:00:00:00:01', dbus.UInt32(2),
                            dbus.UInt32(2437), dbus.UInt32(54000), dbus.Byte(80), dbus.UInt32(0))
        mock.AddWiFiConnection(DEVICE_PATH, 'conn_' + name, ssid, '')
    # A fresh active connection each time: the template refuses to reuse object names.
    mock.AddActiveConnection([DEVICE_PATH], conn_path, ap_path, 'ac_%s_%d' % (name, time.monotonic_ns()),
                             dbus.UInt32(ACTIVE_STATE_ACTIVATED))
    mock.SetProperty(DEVICE_PATH, WIRELESS, 'ActiveAccessPoint', dbus.ObjectPath(ap_path, variant_level=1))


def leave(bus):
    mock = nm_mock(bus)
    mock.SetProperty(DEVICE_PATH, WIRELESS, 'ActiveAccessPoint', dbus.ObjectPath('/', variant_level=1))
    mock.SetDeviceDisconnected(DEVICE_PATH)


def prepare_for_sleep(bus, sleeping):
    logind = dbus.Interface(bus.get_object(LOGIND, LOGIND_PATH), MOCK)
    logind.EmitSignal(LOGIND_IFACE, 'PrepareForSleep', 'b', [dbus.Boolean(sleeping)])


UPOWER = 'org.freedesktop.UPower'
UPOWER_PATH = '/org/freedesktop/UPower'
NOTIFY = 'org.freedesktop.Notifications'
NOTIFY_PATH = '/org/freedesktop/Notifications'


def set_power(bus, source):
    # The mock's Properties.Set emits PropertiesChanged, as UPower does.
    bus.get_object(UPOWER, UPOWER_PATH).Set(UPOWER, 'OnBattery', dbus.Boolean(source == 'battery'),
                                            dbus_interface=PROPS)


def notifications():
    mock = dbus.Interface(dbus.SessionBus().get_object(NOTIFY, NOTIFY_PATH), MOCK)
    for _, method, args in mock.GetCalls():
        if method == 'Notify':
            # app_name, replaces_id, app_icon, summary, body, ...
            print('%s|%s' % (args[3], args[4]))


def main(argv):
    if len(argv) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    bus = dbus.SystemBus()
    command = argv[1]
    if command == 'setup':
        setup(bus)
    elif command == 'ssid':
        ssid = argv[2] if len(argv) > 2 else ''
        if ssid:
            join(bus, ssid)
        else:
            leave(bus)
    elif command in ('sleep', 'resume'):
        prepare_for_sleep(bus, command == 'sleep')
    elif command == 'power' and len(argv) > 2 and argv[2] in ('ac', 'battery'):
        set_power(bus, argv[2])
    elif command == 'notifications':
        notifications()
    else:
        print(__doc__, file=sys.stderr)
        return 2
    return 0


if __name__ == '__main__':
    sys.exit(main(sys.argv))
