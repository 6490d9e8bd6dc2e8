#!/usr/bin/env python3
"""Writes the recordings of the example drive that are not CAN, for the
signals of examples/definitions.json and examples/ethernet.json:

  drive.pcap   a capture (pcap, microsecond time stamps, link type Ethernet)
               of the vehicle's Ethernet: a front camera's SOME/IP events, a
               gateway's IPDU container and a lidar's plain UDP datagrams on
               VLAN 30, with an ARP request that carries no signals
  drive.nmea   the GPS receiver's NMEA log (RMC, GGA, now and then GSA), one
               fix a second, without time-stamp prefixes: the fixes carry
               their own UTC date and time
  drive.trace  trace lines (docs/trace-lines.md) of the rain sensor's LIN
               frames, the steering angle's FlexRay frames and the logger's
               own inputs: ignition (GPIO), supply voltage (analog), the
               marker key, logger status and memory usage

It is the drive of examples/make_drive.py (same start, same speed), so that
all recordings of the example can be decoded together. Values are
deterministic, so the files are the same on every run:

    python3 examples/make_recordings.py examples

The frames are laid out so that the decoder finds every signal:

- The decoder steps from one SOME/IP message to the next by 16 bytes plus
  the length field, and takes a message only when the frame goes on after
  its last byte. The length field counts from its own end (8 bytes before
  the payload), as on the wire, so the camera's lane message comes first in
  its datagram, followed by a status message that keeps the frame going.
- Likewise an IPDU is taken only when a byte of the frame follows it: the
  gateway's container ends with an alive-counter PDU that no signal reads.

Cross-checked against tshark 4.0.17 (Debian 12):

    tshark -r examples/drive.pcap -d udp.port==30501,someip -Y someip \
        -T fields -e frame.time_epoch -e someip.serviceid -e someip.methodid \
        -e someip.length -e someip.payload
    -> 64 frames, 2 SOME/IP messages each: 0x0101/0x8005 length 11 (3 payload
       bytes: lane offset, confidence) and 0x0101/0x8006 length 10

    tshark -r examples/drive.pcap -Y vlan -T fields -e vlan.id -e udp.dstport -e data.data
    -> 64 frames on VLAN 30 to port 50001, 4 payload bytes each

    tshark -r examples/drive.pcap -Y 'udp.port == 42100' -T fields -e udp.length
    -> 32 frames, UDP length 39 (8 + three PDUs of 8 + 2, 8 + 1 and 8 + 4 bytes)

    tshark -r examples/drive.pcap -d udp.port==42100,pdu_transport -Y pdu_transport \
        -T fields -e pdu_transport.id -e pdu_transport.length -e pdu_transport.payload
    -> 0x00000a01,0x00000a02,0x00000aff  2,1,4  01e5,00,00000000 (first frame)
"""

import math
import os
import struct
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from make_drive import DURATION, START, speed_at  # noqa: E402

CAMERA_MAC = bytes.fromhex("02005e200001")
GATEWAY_MAC = bytes.fromhex("02005e200002")
LIDAR_MAC = bytes.fromhex("02005e200003")
LOGGER_MAC = bytes.fromhex("02005e2000fe")
BROADCAST_MAC = bytes.fromhex("ffffffffffff")


def ip_address(text):
    return bytes(int(part) for part in text.split("."))


def multicast_mac(ip):
    return bytes([0x01, 0x00, 0x5E, ip[1] & 0x7F, ip[2], ip[3]])


def checksum(header):
    total = sum(struct.unpack("!%dH" % (len(header) // 2), header))
    while total > 0xFFFF:
        total = (total & 0xFFFF) + (total >> 16)
    return ~total & 0xFFFF


def udp_frame(source_mac, destination_mac, source_ip, destination_ip, source_port, destination_port, payload,
              vlan=None, ident=0):
    udp = struct.pack("!HHHH", source_port, destination_port, 8 + len(payload), 0) + payload
    ip = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + len(udp), ident & 0xFFFF, 0x4000, 64, 17, 0,
                     source_ip, destination_ip)
    ip = ip[:10] + struct.pack("!H", checksum(ip)) + ip[12:]
    ethernet = destination_mac + source_mac
    if vlan is not None:
        ethernet += struct.pack("!HH", 0x8100, vlan)
    frame = ethernet + struct.pack("!H", 0x0800) + ip + udp
    return frame + bytes(max(0, 60 - len(frame)))  # padded to the Ethernet minimum


def arp_request():
    body = struct.pack("!HHBBH6s4s6s4s", 1, 0x0800, 6, 4, 1, LOGGER_MAC, ip_address("10.0.2.254"), bytes(6),
                       ip_address("10.0.2.20"))
    return BROADCAST_MAC + LOGGER_MAC + struct.pack("!H", 0x0806) + body + bytes(18)


def someip(service, method, session, payload):
    # Length: from the request identifier (byte 8) to the end, as on the wire.
    return struct.pack("!HHIHHBBBB", service, method, 8 + len(payload), 0, session, 1, 1, 0x02, 0) + payload


def camera(t, session):
    lane_offset = int(round(0.25 * math.sin(t / 3) / 0.001))
    confidence = int(min(100, 40 + 6 * t))
    lane = someip(0x0101, 0x8005, session, struct.pack("!hB", lane_offset, confidence))
    status = someip(0x0101, 0x8006, session, struct.pack("!H", 0x0001))
    group = ip_address("239.0.1.1")
    return udp_frame(CAMERA_MAC, multicast_mac(group), ip_address("10.0.1.10"), group, 30501, 30501,
                     lane + status, ident=session)


def ipdu(ident, data):
    return struct.pack("!II", ident, len(data)) + data


def gateway(t, counter):
    outside = 8.5 - 0.02 * t  # degC
    doors_closed = 1 if 3.0 <= t < 30.5 else 0
    payload = (ipdu(0x0A01, struct.pack("!H", int(round((outside + 40) / 0.1)))) +
               ipdu(0x0A02, bytes([doors_closed])) + ipdu(0x0AFF, struct.pack("!I", counter)))
    return udp_frame(GATEWAY_MAC, BROADCAST_MAC, ip_address("10.0.2.20"), ip_address("10.0.2.255"), 42100, 42100,
                     payload, ident=counter)


def lidar(t, ident):
    objects = 2 + int(speed_at(t) / 15)
    nearest = 35.0 - 0.4 * speed_at(t)
    payload = struct.pack("<HH", objects, int(round(nearest / 0.01)))
    return udp_frame(LIDAR_MAC, LOGGER_MAC, ip_address("10.0.3.30"), ip_address("10.0.3.1"), 50000, 50001,
                     payload, vlan=30, ident=ident)


def pcap(packets):
    out = struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 1)
    for time, frame in packets:
        seconds = START + int(time)
        micros = int(round((time - int(time)) * 1e6))
        out += struct.pack("<IIII", seconds, micros, len(frame), len(frame)) + frame
    return out


def ethernet_packets():
    packets = [(0.05, arp_request())]
    for step in range(int(DURATION * 2)):
        t = step * 0.5
        packets.append((t + 0.20, camera(t, step + 1)))
        packets.append((t + 0.30, lidar(t, step + 1)))
        if step % 2 == 0:
            packets.append((t + 0.40, gateway(t, step // 2)))
    return sorted(packets, key=lambda packet: packet[0])


def nmea_sentence(body):
    value = 0
    for char in body:
        value ^= ord(char)
    return "$%s*%02X" % (body, value)


def coordinate(value, degree_digits, positive, negative):
    hemisphere = positive if value >= 0 else negative
    value = abs(value)
    degrees = int(value)
    minutes = (value - degrees) * 60
    return "%0*d%07.4f" % (degree_digits, degrees, minutes), hemisphere


def nmea_lines():
    lines = []
    latitude, longitude = 48.137154, 11.576124
    metres_per_degree = 111320 * math.cos(math.radians(latitude))
    for second in range(int(DURATION)):
        hhmmss = "%02d%02d%02d.00" % ((22, 50 + second // 60, second % 60))
        date = "211125"
        if second == 0:  # still acquiring: a void fix without position
            lines.append(nmea_sentence("GPRMC,%s,V,,,,,,,%s,,,N" % (hhmmss, date)))
            lines.append(nmea_sentence("GPGGA,%s,,,,,0,00,99.9,,M,,M,," % hhmmss))
            continue
        speed = speed_at(second)
        latitude_text, north_south = coordinate(latitude, 2, "N", "S")
        longitude_text, east_west = coordinate(longitude, 3, "E", "W")
        lines.append(nmea_sentence("GPRMC,%s,A,%s,%s,%s,%s,%.1f,%.1f,%s,,,A" % (
            hhmmss, latitude_text, north_south, longitude_text, east_west, speed / 1.852, 90.0, date)))
        lines.append(nmea_sentence("GPGGA,%s,%s,%s,%s,%s,1,%02d,0.9,%.1f,M,47.0,M,," % (
            hhmmss, latitude_text, north_south, longitude_text, east_west, 7 + second % 3, 519.5 + 0.1 * second)))
        if second % 10 == 1:
            lines.append(nmea_sentence("GPGSA,A,3,04,05,09,12,24,25,29,,,,,,1.8,0.9,1.5"))
        longitude += speed / 3.6 / metres_per_degree  # heading east for one second
    return lines


def trace_time(t):
    return "(%d.%06d)" % (START + int(t), int(round((t - int(t)) * 1e6)))


def rain_intensity(t):
    return 0 if t < 10 else min(15, int((t - 10) / 3) + 2)


def steering_angle(t):
    return 0.0 if t < 9 or t >= 29.5 else 12.0 * math.sin((t - 9) / 2.5)


def flexray_payload(cycle, angle):
    raw = struct.pack("<h", int(round(angle / 0.1)))
    if cycle % 2 == 0:  # even cycles: the angle in the first two bytes
        return raw + bytes(8)
    return bytes([0, 0, 7, 4, 0, 0]) + raw + bytes(2)  # odd cycles: in PDU 7, then two spare bytes


def trace_lines():
    events = [
        (0.000, "SYSTEM 16 0"),
        (0.050, "USAGE 40 255 255"),
        (0.100, "GPIO 1 3 0000 00ff"),
        (0.100, "ANALOG 1 2 12.6"),
        (5.000, "GPIO 1 3 0008 00ff"),
        (5.200, "ANALOG 1 2 11.9"),
        (6.000, "ANALOG 1 2 14.1"),
        (12.000, "KEY 1 1"),
        (12.150, "KEY 1 0"),
        (20.000, "SYSTEM 16 3"),
        (21.500, "SYSTEM 16 0"),
        (29.800, "GPIO 1 3 0000 00ff"),
        (29.900, "ANALOG 1 2 12.5"),
        (31.000, "USAGE 41 255 70"),
    ]
    for step in range(int(DURATION / 2)):
        t = step * 2.0 + 0.600
        events.append((t, "LIN 1 61 %02X00" % rain_intensity(t)))
    for step in range(int(DURATION / 0.5)):
        t = step * 0.5 + 0.700
        cycle = step % 64
        payload = flexray_payload(cycle, steering_angle(t)).hex().upper()
        events.append((t, "FLEXRAY 1 12 %d static %s" % (cycle, payload)))
    header = [
        "# The example drive's LIN, FlexRay and logger input messages (examples/make_recordings.py).",
        "# (<seconds>.<fraction>) KIND fields..., see docs/trace-lines.md",
    ]
    return header + ["%s %s" % (trace_time(t), text) for t, text in sorted(events, key=lambda event: event[0])]


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else os.path.dirname(os.path.abspath(__file__))
    with open(os.path.join(folder, "drive.pcap"), "wb") as out:
        out.write(pcap(ethernet_packets()))
    with open(os.path.join(folder, "drive.nmea"), "w") as out:
        out.write("\r\n".join(nmea_lines()) + "\r\n")
    with open(os.path.join(folder, "drive.trace"), "w") as out:
        out.write("\n".join(trace_lines()) + "\n")


if __name__ == "__main__":
    main()
