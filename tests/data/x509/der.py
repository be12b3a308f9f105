#!/usr/bin/env python3
"""DER surgery for the fixtures openssl cannot make directly.

  der.py sig-value CMS OUT               signature octets of the first SignerInfo
  der.py signer-info CMS OUT             DER of the first SignerInfo
  der.py add-unsigned CMS OID VALUE OUT  adds an unsigned attribute (value: a DER file) to it
  der.py drop-next-update CRL KEY OUT    removes nextUpdate and signs the CRL again (SHA-256)
  der.py from-pem PEM OUT [PEM OUT...]    the DER of each PEM file's first block

Only definite lengths are read; every edited SET OF is sorted again so the output stays DER.
"""
import base64
import subprocess
import sys
import tempfile


class Node:
    def __init__(self, tag, content=b"", children=None):
        self.tag = tag
        self.content = content
        self.children = children

    def encode(self):
        body = self.content if self.children is None else b"".join(c.encode() for c in self.children)
        n = len(body)
        size = bytes([n]) if n < 0x80 else bytes([0x80 | ((n.bit_length() + 7) // 8)]) + n.to_bytes(
            (n.bit_length() + 7) // 8, "big")
        return bytes([self.tag]) + size + body


def parse(data, pos=0):
    tag = data[pos]
    if tag & 0x1F == 0x1F:
        raise ValueError("multi-byte tags are not used here")
    n, pos = data[pos + 1], pos + 2
    if n == 0x80:
        raise ValueError("indefinite length")
    if n > 0x80:
        n, pos = int.from_bytes(data[pos:pos + (n & 0x7F)], "big"), pos + (n & 0x7F)
    body = data[pos:pos + n]
    if not tag & 0x20:
        return Node(tag, body), pos + n
    children, at = [], 0
    while at < n:
        child, at = parse(body, at)
        children.append(child)
    return Node(tag, children=children), pos + n


def read(path):
    with open(path, "rb") as f:
        data = f.read()
    node, end = parse(data)
    if end != len(data):
        raise ValueError(f"{path}: bytes after the first element")
    return node


def write(path, node):
    with open(path, "wb") as f:
        f.write(node.encode())


def oid(dotted):
    arcs = [int(a) for a in dotted.split(".")]
    out = bytearray([arcs[0] * 40 + arcs[1]])
    for arc in arcs[2:]:
        chunk = [arc & 0x7F]
        while arc > 0x7F:
            arc >>= 7
            chunk.insert(0, 0x80 | (arc & 0x7F))
        out += bytes(chunk)
    return Node(0x06, bytes(out))


def set_of(tag, children):
    return Node(tag, children=sorted(children, key=Node.encode))


def first_signer(content_info):
    signed_data = content_info.children[1].children[0]
    return signed_data.children[-1].children[0]


def signature_of(content_info):
    return next(c for c in first_signer(content_info).children if c.tag == 0x04).content


def add_unsigned(content_info, type_oid, value):
    signer = first_signer(content_info)
    attribute = Node(0x30, children=[oid(type_oid), Node(0x31, children=[value])])
    if signer.children[-1].tag == 0xA1:
        signer.children[-1] = set_of(0xA1, signer.children[-1].children + [attribute])
    else:
        signer.children.append(Node(0xA1, children=[attribute]))


def drop_next_update(crl, key):
    tbs = crl.children[0]
    times = [i for i, c in enumerate(tbs.children) if c.tag in (0x17, 0x18)]
    if len(times) != 2:
        raise ValueError("the CRL has no nextUpdate")
    del tbs.children[times[1]]
    with tempfile.NamedTemporaryFile() as f:
        f.write(tbs.encode())
        f.flush()
        signature = subprocess.run(["openssl", "dgst", "-sha256", "-sign", key, "-binary", f.name],
                                   check=True, capture_output=True).stdout
    crl.children[2] = Node(0x03, b"\x00" + signature)


def main(args):
    command = args[0]
    if command == "sig-value":
        with open(args[2], "wb") as f:
            f.write(signature_of(read(args[1])))
    elif command == "signer-info":
        write(args[2], first_signer(read(args[1])))
    elif command == "add-unsigned":
        content_info = read(args[1])
        add_unsigned(content_info, args[2], read(args[3]))
        write(args[4], content_info)
    elif command == "drop-next-update":
        crl = read(args[1])
        drop_next_update(crl, args[2])
        write(args[3], crl)
    elif command == "from-pem":
        for pem, out in zip(args[1::2], args[2::2]):
            with open(pem) as f:
                body = f.read().split("-----")[2]  # between "-----BEGIN X-----" and "-----END X-----"
            with open(out, "wb") as f:
                f.write(base64.b64decode(body))
    else:
        raise SystemExit(f"unknown command {command}")


if __name__ == "__main__":
    main(sys.argv[1:])
