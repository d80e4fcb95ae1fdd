#!/usr/bin/python3
"""Makes networks that are well or ill, and sees that 'kxinfo doctor' names what is, and no more.

  networks.py [NAME...]    in a private network, with the programs in PATH; all unless some are named

This computer is the network namespace that it runs in. Cameras stand in other ones, at the end of a
cable, or behind a switch. Writes a table of what was found in which network.
"""

import json
import os
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import time

SELF = pathlib.Path(__file__).resolve()
ROOT = SELF.parents[2]
sys.path.insert(0, str(ROOT / "tests/json"))
import validate  # noqa: E402

SCHEMA = json.loads((ROOT / "docs/schema/doctor.schema.json").read_text())
LIMIT = 60  # seconds
UNPRIVILEGED = "setpriv --bounding-set=-net_raw,-net_admin --inh-caps=-net_raw,-net_admin -- "


def sh(command):
    subprocess.run(["sh", "-ec", command], check=True, timeout=LIMIT)


def set_kernel(**values):
    for name, value in values.items():
        pathlib.Path(f"/proc/sys/net/ipv4/conf/{name}/rp_filter").write_text(str(value))


class Network:
    """What stands around this computer; all of it ends with the block."""

    def __enter__(self):
        self.processes = []
        self.rooms = 0
        set_kernel(all=0, default=0)
        return self

    def __exit__(self, *_):
        for process in self.processes:
            process.terminate()
        for process in self.processes:
            process.wait(LIMIT)
            if process.stdout:
                process.stdout.close()
        sh("""nft flush ruleset
              umount /proc/sys/net/core/rmem_max 2>/dev/null || true
              for link in net0 net1; do
                  ip link delete $link 2>/dev/null || true
              done""")

    def start(self, command, ready=None):
        process = subprocess.Popen(
            ["sh", "-ec", "exec " + command],
            stdout=subprocess.PIPE if ready else None,
            text=True,
        )
        self.processes.append(process)
        if ready:
            line = process.stdout.readline()
            assert ready in line, f"{command}: {line!r}"
        return process

    def room(self):
        """A namespace of its own: a process that holds it."""
        holder = self.start(
            "unshare --net sh -c 'ip link set lo up; echo ready; exec sleep 600'", "ready")
        return f"nsenter --net=/proc/{holder.pid}/ns/net -- "

    def cable(self, card, address, room, far, mtu=1500):
        """From a network interface of this computer, with this address, to one in the room."""
        pid = room.split("/")[2]
        sh(f"""ip link add name {card} mtu {mtu} type veth peer name eth0 mtu {mtu}
               ip link set eth0 netns {pid}
               {room} sh -ec 'ip address add {far} dev eth0; ip link set eth0 up'
               ip link set {card} up""")
        if address:
            sh(f"ip address add {address} dev {card}")

    def switch(self, card, address, *rooms):
        """The same with several rooms, each with its far address."""
        middle = self.room()
        pid = middle.split("/")[2]
        sh(f"""ip link add name {card} type veth peer name sw0
               ip link set sw0 netns {pid}
               {middle} sh -ec 'ip link add name br0 type bridge; ip link set br0 up
                                ip link set sw0 master br0; ip link set sw0 up'
               ip address add {address} dev {card}; ip link set {card} up""")
        for number, (room, far) in enumerate(rooms, 1):
            there = room.split("/")[2]
            sh(f"""ip link add name sw{number} type veth peer name eth0 netns {there}
                   ip link set sw{number} netns {pid}
                   {middle} sh -ec 'ip link set sw{number} master br0; ip link set sw{number} up'
                   {room} sh -ec 'ip address add {far} dev eth0; ip link set eth0 up'""")

    def camera(self, room, *options):
        self.start(room + "kxinfo-simcam " + " ".join(options), "ready")


def one(net, here="192.168.5.1/24", far="192.168.5.20/24", options="", mtu=1500, route=""):
    """One camera at the end of one cable."""
    room = net.room()
    net.cable("net0", here, room, far, mtu)
    if route:
        sh(f"{room} ip route add {route} dev eth0")
    net.camera(room, options, "--camera", "S1@" + far.split("/")[0])
    return room


def healthy(net):
    one(net)


def healthy_with_more(net):
    """Another interface without a link, one that is off, a strict filter and a firewall."""
    one(net)
    sh("""ip link add name net1 type veth peer name net2
          ip address add 10.9.0.1/24 dev net1; ip link set net1 up""")
    set_kernel(all=1)
    sh("""nft add table inet strict
          nft 'add chain inet strict in { type filter hook input priority 0; policy drop; }'
          nft add rule inet strict in iif lo accept
          nft add rule inet strict in udp sport 3956 accept""")


def wrong_network(net):
    return one(net, far="10.5.0.20/24", route="192.168.5.0/24")


def link_local(net):
    one(net, far="169.254.3.4/16", route="192.168.5.0/24")


def two_interfaces(net):
    net.cable("net0", "192.168.5.1/24", net.room(), "192.168.5.9/24")
    room = net.room()
    net.cable("net1", "192.168.5.2/24", room, "192.168.5.20/24")
    net.camera(room, "--camera", "S1@192.168.5.20")
    return room


def knows(room, card, address):
    """The device in the room need not ask for the address of this computer's interface."""
    sh(f"""mac=$(ip -o link show {card} | sed 's/.*ether \\([^ ]*\\) .*/\\1/')
           {room} ip neigh replace {address} lladdr $mac dev eth0""")


def filter_strict(net):
    knows(two_interfaces(net), "net1", "192.168.5.2")
    set_kernel(net1=1)


def filter_loose(net):
    knows(wrong_network(net), "net0", "192.168.5.1")
    set_kernel(all=2)


def filter_of_questions(net):
    wrong_network(net)
    set_kernel(net0=1)


def firewall_in(net):
    one(net)
    sh("""nft add table inet strict
          nft 'add chain inet strict in { type filter hook input priority 0; policy drop; }'
          nft add rule inet strict in ct state established,related accept""")


def firewall_out(net):
    one(net)
    sh("""nft add table ip strict
          nft 'add chain ip strict out { type filter hook output priority 0; }'
          nft add rule ip strict out udp dport 3956 drop""")


def duplicate_address(net):
    first, second = net.room(), net.room()
    net.switch("net0", "192.168.5.1/24", (first, "192.168.5.20/24"), (second, "192.168.5.20/24"))
    net.camera(first, "--camera", "S1@192.168.5.20")
    net.start(second + f"python3 {SELF} --another 192.168.5.20", "ready")
    # Chance would decide which of them is asked for all else.
    sh(f"""mac=$({first} ip -o link show eth0 | sed 's/.*ether \\([^ ]*\\) .*/\\1/')
           ip neigh replace 192.168.5.20 lladdr $mac dev net0""")


def duplicate_serial(net):
    first, second = net.room(), net.room()
    net.switch("net0", "192.168.5.1/24", (first, "192.168.5.20/24"), (second, "192.168.5.21/24"))
    net.camera(first, "--camera", "S1@192.168.5.20")
    net.camera(second, "--camera", "S1@192.168.5.21")


def held(net):
    one(net)
    net.start(f"python3 {SELF} --hold 192.168.5.20 2", "ready")


def held_exclusively(net):
    one(net)
    net.start(f"python3 {SELF} --hold 192.168.5.20 1", "ready")


def silent(net):
    one(net, options="--silent-after 1")


def dead(net):
    one(net, options="--die-after 1")


def lossy(net):
    one(net, options="--drop 5%")


def slow(net):
    one(net, options="--delay 40")


def low_mtu(net):
    room = one(net)
    # What is too large is lost on its way to this computer.
    sh("ip link set dev net0 mtu 300")
    sh(room + "ip link set dev eth0 mtu 1500")


def no_link(net):
    room = one(net)
    sh(room + "ip link set eth0 down")


def switched_off(net):
    one(net)
    sh("ip link set net0 down")


def no_address(net):
    one(net, here="")


def no_camera(net):
    net.cable("net0", "192.168.5.1/24", net.room(), "192.168.5.20/24")


def no_interface(net):
    pass


def small_buffer(net):
    one(net)
    pathlib.Path("rmem").write_text("16384\n")
    sh("mount --bind rmem /proc/sys/net/core/rmem_max")


def described(net, old, new):
    """With the description of the usual camera, but for that."""
    text = (ROOT / "simcam/dalsa-1936x1216.xml").read_text()
    assert re.search(old, text)
    pathlib.Path("other.xml").write_text(re.sub(old, new, text))
    one(net, options="--description other.xml")


def broken_description(net):
    one(net, options="--first-url 'Local:gone.xml;10000000;100' --second-url none")


def other_rate(net):
    described(net, r"\bAcquisitionFrameRate\b", "FrameRate")


def failing_width(net):
    """A register at an address that is computed is none of the virtual camera's."""
    described(net, r'<Integer Name="WidthMax">((?s:.*?))<Address>(0x\w*)</Address>',
              r'<IntSwissKnife Name="Where"><Formula>\2</Formula></IntSwissKnife>'
              r'<Integer Name="WidthMax">\1<pAddress>Where</pAddress>')


def two_cameras(net):
    first, second = net.room(), net.room()
    net.switch("net0", "192.168.5.1/24", (first, "192.168.5.20/24"), (second, "192.168.5.21/24"))
    net.camera(first, "--camera", "S1@192.168.5.20")
    net.camera(second, "--camera", "S2@192.168.5.21")


# Network, arguments, exit status, and what is found: a note has a '?' behind it.
MATRIX = [
    (healthy, "", 0, ""),
    (healthy, "S1", 0, ""),
    (healthy_with_more, "", 0, ""),
    (two_cameras, "", 0, ""),
    (two_cameras, "S9", 1, "not-found"),
    (wrong_network, "", 3, "wrong-network"),
    (link_local, "", 3, "link-local"),
    (two_interfaces, "", 3, "same-network wrong-route"),
    (filter_of_questions, "", 1, "no-camera reverse-path-filter?"),
    (filter_strict, "", 1, "no-camera same-network reverse-path-filter"),
    (filter_loose, "", 1, "no-camera reverse-path-filter"),
    (filter_loose, UNPRIVILEGED, 1, "no-camera reverse-path-filter?"),
    (firewall_in, "", 1, "no-camera firewall"),
    (firewall_in, UNPRIVILEGED, 1, "no-camera"),
    (firewall_out, "", 1, "no-camera firewall"),
    (firewall_out, UNPRIVILEGED, 1, "no-camera firewall"),
    (duplicate_address, "", 3, "duplicate-address"),
    (duplicate_serial, "", 3, "duplicate-serial"),
    (held, "", 3, "controlled"),
    (held_exclusively, "", 3, "controlled"),
    (silent, "", 3, "silent"),
    (dead, "", 3, "silent"),
    (lossy, "", 3, "lost-packets"),
    (slow, "", 0, "slow?"),
    (low_mtu, "", 3, "low-mtu"),
    (no_link, "", 1, "no-camera no-link"),
    (switched_off, "", 1, "no-camera no-link"),
    (no_address, "", 1, "no-camera no-address"),
    (no_camera, "", 1, "no-camera"),
    (no_interface, "", 1, "no-camera"),
    (small_buffer, "", 0, "receive-buffer?"),
    (broken_description, "", 3, "description"),
    (other_rate, "", 0, "missing-feature?"),
    (failing_width, "", 3, "unreadable-feature"),
]


def examine(make, arguments):
    before = ""
    if arguments == UNPRIVILEGED:
        before, arguments = arguments, ""
    with Network() as net:
        make(net)
        json_run = subprocess.run(
            f"{before}kxinfo doctor --json {arguments}",
            shell=True, capture_output=True, text=True, timeout=LIMIT,
        )
    wrong = validate.violations(SCHEMA, json_run.stdout.encode())
    if wrong:
        return json_run.returncode, set(), wrong + [json_run.stdout, json_run.stderr]
    found = {
        finding["id"] + ("?" if finding["severity"] == "note" else "")
        for part in json.loads(json_run.stdout)["parts"]
        for finding in part["findings"]
    }
    if os.environ.get("VERBOSE"):
        print(json_run.stdout)
    return json_run.returncode, found, []


def main(names):
    ids = sorted({name for row in MATRIX for name in row[3].split()})
    failures = []
    lines = []
    for make, arguments, status, expected in MATRIX:
        if names and make.__name__ not in names:
            continue
        name = make.__name__ + (" unprivileged" if arguments == UNPRIVILEGED else " " + arguments)
        got_status, found, messages = examine(make, arguments)
        lines.append((name, status, got_status, set(expected.split()), found))
        if got_status != status or found != set(expected.split()) or messages:
            failures.append(name)
            print("\n".join(messages), file=sys.stderr)
    # X found and expected, - expected and not found, ! found and not expected
    columns = sorted(set(ids) | {one for line in lines for one in line[4]})
    for number, column in enumerate(columns):
        print("  " + "| " * number + column)
    for name, status, got, expected, found in lines:
        cells = [".-!X"[(one in expected) + 2 * (one in found)] for one in columns]
        print("  " + " ".join(cells) + f"  {name}: status {got}"
              + ("" if got == status else f", expected {status}"))
    print(f"{len(lines)} networks, {len(failures)} otherwise than expected", *failures)
    return 1 if failures or not lines else 0


def names():
    """The code, the schema, the reference and the matrix have the same findings."""
    code = re.findall(r'^    k\w+\{"([a-z-]+)", ', (ROOT / "camera/doctor.cpp").read_text(), re.M)
    section = (ROOT / "docs/commands.md").read_text().split("## kxinfo doctor\n")[1].split("\n## ")[0]
    places = {
        "docs/commands.md": re.findall(r"^\| `([a-z-]+)` \|", section, re.M),
        "the schema": SCHEMA["definitions"]["finding"]["properties"]["id"]["enum"],
        "the networks": {name.rstrip("?") for row in MATRIX for name in row[3].split()},
    }
    wrong = {place: set(code) ^ set(has) for place, has in places.items() if set(code) ^ set(has)}
    print(f"{len(code)} findings", wrong or "")
    return 1 if wrong or not code else 0


def another(address):
    """A second camera at an address: it answers searches, with a MAC address of its own."""
    registers = bytearray(0xF8)
    registers[0x0A:0x10] = bytes.fromhex("020012345678")
    registers[0x24:0x28] = socket.inet_aton(address)
    registers[0x48:0x4D] = b"Dalsa"
    registers[0x68:0x6D] = b"C1936"
    registers[0xD8:0xDA] = b"S2"
    device = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    device.bind(("0.0.0.0", 3956))
    print("ready", flush=True)
    while True:
        packet, sender = device.recvfrom(600)
        if packet[2:4] == b"\x00\x02":
            device.sendto(b"\0\0\0\3\0\xf8" + packet[6:8] + registers, sender)


def hold(address, privilege):
    """A program that controls a camera and says so every now and then."""
    client = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    client.connect((address, 3956))
    client.settimeout(5)
    number = 1
    while True:
        register = (0x0A00).to_bytes(4, "big")
        client.send(b"\x42\1\0\x82\0\x08" + number.to_bytes(2, "big") + register
                    + int(privilege).to_bytes(4, "big"))
        assert client.recv(600)[:2] == b"\0\0"
        if number == 1:
            print("ready", flush=True)
        number += 1
        time.sleep(0.3)


if __name__ == "__main__":
    if sys.argv[1:2] == ["--another"]:
        another(*sys.argv[2:])
    elif sys.argv[1:2] == ["--hold"]:
        hold(*sys.argv[2:])
    if sys.argv[1:] == ["--names"]:
        sys.exit(names())
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        sys.exit(main(sys.argv[1:]))
