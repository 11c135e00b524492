"""The kernel's simulated radios: added and removed while the machine runs, over generic netlink (the family
MAC80211_HWSIM, drivers/net/wireless/mac80211_hwsim.h; linux/genetlink.h)."""
import socket
import struct

from system import Failed

NETLINK_GENERIC = 16
GENL_ID_CTRL, CTRL_CMD_GETFAMILY, CTRL_ATTR_FAMILY_ID, CTRL_ATTR_FAMILY_NAME = 0x10, 3, 1, 2
NLM_F_REQUEST, NLM_F_ACK = 1, 4
NLMSG_ERROR = 2
FAMILY = "MAC80211_HWSIM"
CMD_NEW_RADIO, CMD_DEL_RADIO = 4, 5
ATTR_CHANNELS, ATTR_RADIO_ID = 9, 10
ANSWER_SECONDS = 5.0


def add_radio(channels=2):
    """A new radio with one station interface, in the network namespace of this process. Its number."""
    return _request(CMD_NEW_RADIO, _attribute(ATTR_CHANNELS, struct.pack("=I", channels)))


def remove_radio(number):
    """The radio vanishes at once, as if it were unplugged. Radios are numbered from 0 as they are made."""
    _request(CMD_DEL_RADIO, _attribute(ATTR_RADIO_ID, struct.pack("=I", number)))


def _request(command, attributes):
    with socket.socket(socket.AF_NETLINK, socket.SOCK_RAW, NETLINK_GENERIC) as link:
        link.settimeout(ANSWER_SECONDS)
        link.bind((0, 0))
        name = _attribute(CTRL_ATTR_FAMILY_NAME, FAMILY.encode() + b"\0")
        answer = _exchange(link, GENL_ID_CTRL, CTRL_CMD_GETFAMILY, name, NLM_F_REQUEST)
        family = struct.unpack("=H", _find(answer[20:], CTRL_ATTR_FAMILY_ID))[0]
        answer = _exchange(link, family, command, attributes, NLM_F_REQUEST | NLM_F_ACK)
        return struct.unpack_from("=i", answer, 16)[0]  # the number of a new radio, 0 otherwise


def _exchange(link, family, command, attributes, flags):
    payload = struct.pack("=BBH", command, 1, 0) + attributes
    link.send(struct.pack("=IHHII", 16 + len(payload), family, flags, 1, 0) + payload)
    answer = link.recv(65536)
    kind = struct.unpack_from("=H", answer, 4)[0]
    if kind == NLMSG_ERROR and (error := struct.unpack_from("=i", answer, 16)[0]) < 0:
        raise Failed(f"the simulated radios refuse command {command}: error {-error}")
    return answer


def _attribute(kind, value):
    return struct.pack("=HH", 4 + len(value), kind) + value + bytes(-len(value) % 4)


def _find(attributes, wanted):
    at = 0
    while at + 4 <= len(attributes):
        length, kind = struct.unpack_from("=HH", attributes, at)
        if kind == wanted:
            return attributes[at + 4:at + length]
        at += max(4, (length + 3) & ~3)
    raise Failed(f"the kernel's answer has no attribute {wanted}")
