#pragma once

// The X.509 fixture set that tests/data/x509/make-fixtures.sh makes with openssl: certificates
// (cert-*), CRLs (crl-*), CMS and PKCS#7 messages (cms-*, p7-*), each NAME.der beside NAME.expect,
// the "key=value" lines of what openssl reads in it (tests/data/x509/expect.py lists the keys).
#include <map>
#include <string>
#include <vector>

namespace testsupport {

// FixtureDir is the folder of the set: $SES_X509_FIXTURES, which the x509_fixtures CTest step
// fills, or else a temporary folder the script fills once per process (removed at exit). Throws
// std::runtime_error when the script fails.
std::string FixtureDir();

// Expect holds the lines of an .expect file by key; the values of one key keep their file order.
using Expect = std::multimap<std::string, std::string>;

// ReadExpect splits each line at its first '='. Throws std::runtime_error for an unreadable file or
// a line without '='.
Expect ReadExpect(const std::string& path);

// Values lists the values of key in file order.
std::vector<std::string> Values(const Expect& expect, const std::string& key);

// DebianRoots lists the PEM root certificates of Debian's ca-certificates, sorted; empty when the
// package is not installed.
std::vector<std::string> DebianRoots();

}  // namespace testsupport
