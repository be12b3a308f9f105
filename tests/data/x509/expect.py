#!/usr/bin/env python3
"""expect.py OUTDIR: writes NAME.expect beside every NAME.der from what openssl reads in it.

The structure comes from "openssl asn1parse" (offsets, header and content lengths, object names),
object names become dotted OIDs through "openssl list -objects", and values are the content bytes
at the offsets openssl reports; what an extension's OCTET STRING wraps is read by asn1parse too.
A few facts are checked against openssl's own decoders (x509, crl, cms -print), and every PEM copy
must hold its DER file. The file name's prefix gives the kind: cert-, crl-, cms- and p7-.

One "key=value" per line; keys repeat, and the values of one key keep their order. Hex is lower
case, times are "DD.MM.YYYY HH:MM:SS" UTC, OIDs dotted, serials the INTEGER's content bytes as
encoded (a leading 00 or a negative number's bytes included).
  every name   KEY=OID=value per attribute (UTF-8), then KEYRdnSizes=N,N,...: attributes per RDN
  cert         kind version serial sigAlg issuer notBefore notAfter subject pubKeyAlg
               ext=OID,critical|noncritical (in order) keyUsage=bit,bit,... (0 = digitalSignature)
               basicConstraints=true|false,pathLen-or-empty subjectKeyId authorityKeyId (its keyIdentifier)
               sha1 (of the whole file)
  crl          kind version sigAlg issuer thisUpdate nextUpdate (absent when absent)
               revoked=SERIAL,date,reasonCode-or-empty revokedExt=SERIAL,OID,critical|noncritical
               ext=... crlNumber (content bytes)
  cms          kind contentType eContentType attached=true|false certCount crlCount
               signer=SID,digestOID,signatureOID,signingTime-or-empty,signedAttrCount,unsignedAttrCount
               where SID is the serial, or keyid:HEX for a subjectKeyIdentifier;
               signerIssuer=I,OID=value signedAttr=I,OID unsignedAttr=I,OID (I: signer index from 0)
"""
import base64
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys

LINE = re.compile(r"^\s*(\d+):d=(\d+)\s+hl=(\d+)\s+l=\s*(\d+|inf)\s+(prim|cons):\s*(.*?)\s*$")
DOTTED = re.compile(r"[0-9]+(\.[0-9]+)+")
STRING_CODECS = {"BMPSTRING": "utf-16-be", "UNIVERSALSTRING": "utf-32-be"}
SIGNING_TIME = "1.2.840.113549.1.9.5"
REASON_CODE = "2.5.29.21"
CRL_NUMBER = "2.5.29.20"
KEY_USAGE = "2.5.29.15"
BASIC_CONSTRAINTS = "2.5.29.19"
SUBJECT_KEY_ID = "2.5.29.14"
AUTHORITY_KEY_ID = "2.5.29.35"


def openssl(*args, data=None):
    return subprocess.run(["openssl", *args], input=data, check=True, capture_output=True).stdout


def load_oids():
    """Maps openssl's short and long object names to dotted OIDs; a name given twice is dropped."""
    names, clashes = {}, set()
    for line in openssl("list", "-objects").decode().splitlines():
        short, _, rest = line.partition(" = ")
        long, _, dotted = rest.rpartition(", ")
        if not DOTTED.fullmatch(dotted):
            continue
        for name in {short, long or short}:
            if names.get(name, dotted) != dotted:
                clashes.add(name)
            names[name] = dotted
    for name in clashes:
        del names[name]
    return names


class Node:
    def __init__(self, der, offset, header, length, kind):
        self.der, self.offset, self.header, self.length = der, offset, header, length
        self.kind = kind  # "SEQUENCE", "cont [ 0 ]", "OBJECT :commonName", ...
        self.children = []
        self.inner = None  # an extension value's element, set by unwrap

    @property
    def type(self):
        return self.kind.split(":", 1)[0].strip()

    @property
    def content(self):
        start = self.offset + self.header
        return self.der[start:start + self.length]

    def is_time(self):
        return self.type in ("UTCTIME", "GENERALIZEDTIME")

    def child(self, type_):
        return next((c for c in self.children if c.type == type_), None)


def parse(der):
    """The top-level elements of der (several may follow each other), as openssl asn1parse reads them."""
    root, stack = Node(der, 0, 0, len(der), "all"), []
    for line in openssl("asn1parse", "-inform", "DER", data=der).decode("utf-8", "replace").splitlines():
        m = LINE.match(line)
        if not m:
            continue  # the rest of a printed string that held a line break
        offset, depth, header, length, _, kind = m.groups()
        if kind.startswith("EOC"):
            continue
        node = Node(der, int(offset), int(header), None if length == "inf" else int(length), kind)
        del stack[int(depth):]
        (stack[-1] if stack else root).children.append(node)
        stack.append(node)
    return root.children


def unwrap(octet_strings):
    """Sets .inner of each OCTET STRING node to the element it holds (one openssl run for all)."""
    if octet_strings:
        inner = parse(b"".join(o.content for o in octet_strings))
        if len(inner) != len(octet_strings):
            raise ValueError("an extension value is not one element")
        for outer, element in zip(octet_strings, inner):
            outer.inner = element


def extensions(node):
    """(OID node, critical, value node) per Extension of an Extensions SEQUENCE (None: no list)."""
    found = []
    for extension in node.children if node is not None else []:
        critical = extension.child("BOOLEAN")
        found.append((extension.children[0], critical is not None and critical.content != b"\x00",
                      extension.children[-1]))
    return found


class Writer:
    def __init__(self, oids):
        self.oids, self.lines = oids, []

    def add(self, key, value):
        if "\n" in str(value):
            raise ValueError(f"line break in {key}")
        self.lines.append(f"{key}={value}")

    def oid(self, node):
        name = node.kind.split(":", 1)[1]
        if DOTTED.fullmatch(name):
            return name
        if name not in self.oids:
            raise KeyError(f"openssl lists no OID for {name!r}")
        return self.oids[name]

    def name(self, key, name, prefix=""):
        """KEY=[prefix]OID=value per attribute; unprefixed, also KEYRdnSizes."""
        for rdn in name.children:
            for attribute in rdn.children:
                type_, value = attribute.children
                text = value.content.decode(STRING_CODECS.get(value.type, "utf-8"))
                self.add(key, f"{prefix}{self.oid(type_)}={text}")
        if not prefix:
            self.add(key + "RdnSizes", ",".join(str(len(rdn.children)) for rdn in name.children))

    def extension(self, key, oid, critical, prefix=""):
        self.add(key, f"{prefix}{self.oid(oid)},{'critical' if critical else 'noncritical'}")


def time_text(node):
    text = node.content.decode("ascii").rstrip("Z")
    if node.type == "UTCTIME":
        text = ("19" if int(text[:2]) >= 50 else "20") + text
    return f"{text[6:8]}.{text[4:6]}.{text[0:4]} {text[8:10]}:{text[10:12]}:{text[12:14]}"


def iso_text(node):
    """The same instant as openssl -dateopt iso_8601 prints it, for the cross-checks."""
    day, clock = time_text(node).split()
    return "{}-{}-{} {}Z".format(*reversed(day.split(".")), clock)


def number(content):
    return int.from_bytes(content, "big")


def signed_hex(content):
    """The serial as openssl x509 -serial prints it."""
    value = int.from_bytes(content, "big", signed=True)
    digits = f"{abs(value):X}"
    return ("-" if value < 0 else "") + "0" * (len(digits) % 2) + digits


def certificate(path, cert, w):
    tbs = cert.children[0]
    fields = list(tbs.children)
    version = 1
    if fields[0].type == "cont [ 0 ]":
        version += number(fields.pop(0).children[0].content)
    serial, _, issuer, validity, subject, spki = fields[:6]
    w.add("kind", "cert")
    w.add("version", version)
    w.add("serial", serial.content.hex())
    w.add("sigAlg", w.oid(cert.children[1].children[0]))
    w.name("issuer", issuer)
    w.add("notBefore", time_text(validity.children[0]))
    w.add("notAfter", time_text(validity.children[1]))
    w.name("subject", subject)
    w.add("pubKeyAlg", w.oid(spki.children[0].children[0]))
    extension_list = extensions(tbs.child("cont [ 3 ]") and tbs.child("cont [ 3 ]").children[0])
    unwrap([value for _, _, value in extension_list])
    values = {}
    for oid, critical, value in extension_list:
        w.extension("ext", oid, critical)
        values[w.oid(oid)] = value.inner
    if KEY_USAGE in values:
        bits = values[KEY_USAGE].content
        w.add("keyUsage", ",".join(str(i) for i in range(8 * len(bits) - 8) if bits[1 + i // 8] & 0x80 >> i % 8))
    if BASIC_CONSTRAINTS in values:
        members = values[BASIC_CONSTRAINTS].children
        ca = bool(members) and members[0].type == "BOOLEAN" and members[0].content != b"\x00"
        path_len = number(members[-1].content) if members and members[-1].type == "INTEGER" else ""
        w.add("basicConstraints", f"{str(ca).lower()},{path_len}")
    if SUBJECT_KEY_ID in values:
        w.add("subjectKeyId", values[SUBJECT_KEY_ID].content.hex())
    if AUTHORITY_KEY_ID in values:
        key_id = values[AUTHORITY_KEY_ID].child("cont [ 0 ]")
        w.add("authorityKeyId", key_id.content.hex() if key_id is not None else "")

    shown = openssl("x509", "-inform", "DER", "-in", str(path), "-noout", "-serial", "-startdate", "-enddate",
                    "-dateopt", "iso_8601", "-fingerprint", "-sha1").decode().splitlines()
    w.add("sha1", shown.pop().split("=", 1)[1].replace(":", "").lower())
    expected = [f"serial={signed_hex(serial.content)}", f"notBefore={iso_text(validity.children[0])}",
                f"notAfter={iso_text(validity.children[1])}"]
    if shown != expected:
        raise ValueError(f"{path}: openssl x509 shows {shown}, asn1parse gave {expected}")


def crl(path, crl_, w):
    tbs = crl_.children[0]
    fields = list(tbs.children)
    version = 1
    if fields[0].type == "INTEGER":
        version += number(fields.pop(0).content)
    _, issuer, this_update = fields[:3]
    next_update = fields[3] if len(fields) > 3 and fields[3].is_time() else None
    revoked = next((f for f in fields[3:] if f.type == "SEQUENCE"), None)
    entries = [(e.children[0], e.children[1], extensions(e.children[2] if len(e.children) > 2 else None))
               for e in (revoked.children if revoked is not None else [])]
    crl_extensions = extensions(tbs.child("cont [ 0 ]") and tbs.child("cont [ 0 ]").children[0])
    unwrap([value for _, _, found in entries for _, _, value in found] + [value for _, _, value in crl_extensions])

    w.add("kind", "crl")
    w.add("version", version)
    w.add("sigAlg", w.oid(crl_.children[1].children[0]))
    w.name("issuer", issuer)
    w.add("thisUpdate", time_text(this_update))
    if next_update is not None:
        w.add("nextUpdate", time_text(next_update))
    for serial, date, found in entries:
        reasons = [number(value.inner.content) for oid, _, value in found if w.oid(oid) == REASON_CODE]
        w.add("revoked", f"{serial.content.hex()},{time_text(date)},{reasons[0] if reasons else ''}")
        for oid, critical, _ in found:
            w.extension("revokedExt", oid, critical, serial.content.hex() + ",")
    for oid, critical, value in crl_extensions:
        w.extension("ext", oid, critical)
    for oid, _, value in crl_extensions:
        if w.oid(oid) == CRL_NUMBER:
            w.add("crlNumber", value.inner.content.hex())

    shown = openssl("crl", "-inform", "DER", "-in", str(path), "-noout", "-lastupdate", "-nextupdate",
                    "-dateopt", "iso_8601").decode().splitlines()
    expected = [f"lastUpdate={iso_text(this_update)}",
                f"nextUpdate={iso_text(next_update) if next_update is not None else 'NONE'}"]
    if shown != expected:
        raise ValueError(f"{path}: openssl crl shows {shown}, asn1parse gave {expected}")


def message(path, content_info, w):
    signed = content_info.children[1].children[0]
    encap = signed.children[2]
    certs = next((c for c in signed.children[3:] if c.type == "cont [ 0 ]"), None)
    crls = next((c for c in signed.children[3:] if c.type == "cont [ 1 ]"), None)
    signers = signed.children[-1].children
    w.add("kind", "cms")
    w.add("contentType", w.oid(content_info.children[0]))
    w.add("eContentType", w.oid(encap.children[0]))
    w.add("attached", "true" if len(encap.children) > 1 else "false")
    w.add("certCount", len(certs.children) if certs is not None else 0)
    w.add("crlCount", len(crls.children) if crls is not None else 0)
    for index, signer in enumerate(signers):
        sid, digest = signer.children[1:3]
        # After the digest algorithm: a key-identifier sid is a [0] too.
        signed_attrs = next((c for c in signer.children[3:] if c.type == "cont [ 0 ]"), None)
        unsigned_attrs = next((c for c in signer.children[3:] if c.type == "cont [ 1 ]"), None)
        signature_algorithm = [c for c in signer.children[3:] if c.type == "SEQUENCE"][0]
        who = sid.children[1].content.hex() if sid.type == "SEQUENCE" else f"keyid:{sid.content.hex()}"
        signing_time = ""
        for attribute in signed_attrs.children if signed_attrs is not None else []:
            if w.oid(attribute.children[0]) == SIGNING_TIME:
                signing_time = time_text(attribute.children[1].children[0])
        w.add("signer", ",".join([who, w.oid(digest.children[0]), w.oid(signature_algorithm.children[0]),
                                  signing_time, str(len(signed_attrs.children) if signed_attrs else 0),
                                  str(len(unsigned_attrs.children) if unsigned_attrs else 0)]))
        if sid.type == "SEQUENCE":
            w.name("signerIssuer", sid.children[0], f"{index},")
        for key, attrs in (("signedAttr", signed_attrs), ("unsignedAttr", unsigned_attrs)):
            for attribute in attrs.children if attrs is not None else []:
                w.add(key, f"{index},{w.oid(attribute.children[0])}")

    printed = openssl("cms", "-cmsout", "-print", "-inform", "DER", "-in", str(path)).decode("utf-8", "replace")
    if len(re.findall(r"^        d\.(issuerAndSerialNumber|subjectKeyIdentifier):", printed, re.M)) != len(signers):
        raise ValueError(f"{path}: openssl cms shows another number of signers")


KINDS = {"cert": certificate, "crl": crl, "cms": message, "p7": message}


def write_expect(path, element, oids):
    w = Writer(oids)
    KINDS[path.name.split("-")[0]](path, element, w)
    path.with_suffix(".expect").write_text("\n".join(w.lines) + "\n", encoding="utf-8")


def main(out):
    os.environ["OPENSSL_CONF"] = os.devnull  # no object names from a configuration file
    oids = load_oids()
    paths = sorted(out.glob("*.der"))
    elements = parse(b"".join(p.read_bytes() for p in paths))  # one openssl run reads every file
    if len(elements) != len(paths):
        raise ValueError("a file is not one element")
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:  # the time goes into openssl runs
        for done in [pool.submit(write_expect, p, e, oids) for p, e in zip(paths, elements)]:
            done.result()
    for pem in sorted(out.glob("*.pem")):
        body = "".join(line for line in pem.read_text().splitlines() if not line.startswith("-----"))
        if base64.b64decode(body) != pem.with_suffix(".der").read_bytes():
            raise ValueError(f"{pem} does not hold {pem.with_suffix('.der').name}")


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]))
