#!/usr/bin/env bash
# make-fixtures.sh OUTDIR: certificates, CRLs and CMS/PKCS#7 messages made by the openssl command
# line, each NAME.der with NAME.expect (what openssl reads in it, written by expect.py), plus PEM
# copies of a few. Keys are fresh on every run; file names and the facts chosen below are fixed.
set -euo pipefail

[ $# -eq 1 ] || { echo "usage: $0 OUTDIR" >&2; exit 2; }
HERE=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$1"
OUT=$(cd "$1" && pwd)
W=$(mktemp -d)
trap 'rm -rf "$W"' EXIT
rm -f "$OUT"/*.der "$OUT"/*.pem "$OUT"/*.expect

# q runs a command quietly, showing its output only when it fails.
q() {
    local log
    if ! log=$("$@" 2>&1); then
        printf '%s\n' "$log" >&2
        echo "failed: $*" >&2
        return 1
    fi
}

# Keys: two cores, so the slow ones (DSA parameters, RSA) run side by side.
keys() {
    local pids=() p
    q openssl genpkey -genparam -algorithm DSA -pkeyopt dsa_paramgen_bits:2048 -out "$W/dsa.param" &
    pids+=($!)
    for k in root leafrsa tsa; do
        q openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out "$W/$k.key" &
        pids+=($!)
    done
    q openssl genpkey -algorithm RSA-PSS -pkeyopt rsa_keygen_bits:2048 -out "$W/pss.key" &
    pids+=($!)
    for k in inter leafec ec; do
        q openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out "$W/$k.key"
    done
    q openssl genpkey -algorithm ED25519 -out "$W/ed25519.key"
    for p in "${pids[@]}"; do wait "$p"; done
    q openssl genpkey -paramfile "$W/dsa.param" -out "$W/dsa.key"
}

cat > "$W/openssl.cnf" <<'EOF'
oid_section = fixture_oids
[fixture_oids]
unregisteredAttribute = 1.2.3.4.5.6.7
[ca]
default_ca = ca_any
[ca_any]
dir = $ENV::CADIR
database = $dir/index.txt
serial = $dir/serial
crlnumber = $dir/crlnumber
new_certs_dir = $dir
default_md = sha256
policy = policy_any
unique_subject = no
email_in_dn = yes
default_crl_days = 30
[ca_no_crl_number]
dir = $ENV::CADIR
database = $dir/index.txt
default_md = sha256
[policy_any]
[req]
distinguished_name = req_dn
string_mask = $ENV::STRING_MASK
[req_dn]

[v3_root]
basicConstraints = critical,CA:TRUE
keyUsage = critical,keyCertSign,cRLSign
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
[v3_inter]
basicConstraints = critical,CA:TRUE,pathlen:0
keyUsage = critical,keyCertSign,cRLSign
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid,issuer:always
crlDistributionPoints = URI:http://127.0.0.1/root.crl
[v3_leaf]
basicConstraints = CA:FALSE
keyUsage = critical,digitalSignature
extendedKeyUsage = clientAuth,emailProtection
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
subjectAltName = email:copy
[v3_self]
subjectKeyIdentifier = hash
basicConstraints = critical,CA:TRUE
[v3_ku_all]
keyUsage = critical,digitalSignature,nonRepudiation,keyEncipherment,dataEncipherment,keyAgreement,keyCertSign,cRLSign,encipherOnly,decipherOnly
basicConstraints = CA:FALSE
[v3_ku_nonrep]
keyUsage = nonRepudiation
[v3_names]
keyUsage = critical,digitalSignature,nonRepudiation
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid,issuer
[v3_tsa]
keyUsage = critical,digitalSignature
extendedKeyUsage = critical,timeStamping
[v3_empty_subject]
subjectAltName = critical,email:nobody@fixture.example
authorityKeyIdentifier = keyid
[v3_ext]
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid,issuer:always
subjectAltName = @san
crlDistributionPoints = dp_uri, dp_relative
certificatePolicies = ia5org, 1.2.643.100.113.1, @policy
2.5.29.16 = ASN1:SEQUENCE:private_key_usage
1.2.3.4 = critical,ASN1:UTF8String:x
authorityInfoAccess = OCSP;URI:http://127.0.0.1/ocsp, caIssuers;URI:http://127.0.0.1/root.cer
[san]
DNS.1 = fixture.example
DNS.2 = *.fixture.example
email.1 = user@fixture.example
URI.1 = http://127.0.0.1/path?q=1
IP.1 = 127.0.0.1
IP.2 = ::1
dirName.1 = san_dir
otherName.1 = 1.3.6.1.4.1.311.20.2.3;UTF8:user@fixture.example
RID.1 = 1.2.3.4.5
[san_dir]
C = RU
O = Directory Org
CN = Directory Name
[dp_uri]
fullname = URI:http://127.0.0.1/a.crl, URI:ldap://127.0.0.1/cn=a
[dp_relative]
relativename = dp_rdn
CRLissuer = dirName:san_dir
reasons = keyCompromise, CACompromise
[dp_rdn]
CN = Partition 1
[policy]
policyIdentifier = 1.2.3.4.5.6
CPS.1 = "http://127.0.0.1/cps"
userNotice.1 = @notice
[notice]
explicitText = "Fixture notice"
organization = "Fixture Org"
noticeNumbers = 1, 2
[private_key_usage]
notBefore = IMPLICIT:0,GENTIME:20250101000000Z
notAfter = IMPLICIT:1,GENTIME:20270101000000Z
[crl_ext]
authorityKeyIdentifier = keyid:always

[tsa]
default_tsa = tsa_any
[tsa_any]
dir = $ENV::CADIR
serial = $dir/tsaserial
signer_digest = sha256
default_policy = 1.2.3.4.1
digests = sha256
accuracy = secs:1, millisecs:500
ess_cert_id_alg = sha256
EOF
# Each openssl ca call names its own folder; "pkix" makes BMPString of what is not ASCII.
export OPENSSL_CONF="$W/openssl.cnf" CADIR="$W" STRING_MASK=utf8only

# ca DIR: an empty CA folder (database, serial and CRL number) for openssl ca.
ca() {
    mkdir -p "$W/$1"
    : > "$W/$1/index.txt"
}

# issue CA NAME KEY SUBJECT SERIALHEX START END EXTENSIONS [openssl ca options]: CA "self" signs
# with the certificate's own key; the certificate lands as $W/NAME.pem, and as $OUT/cert-NAME.der
# once certificates has run der.py over ISSUED (a process per file costs more than the signing).
ISSUED=()
issue() {
    local ca=$1 name=$2 key=$3 subject=$4 serial=$5 start=$6 end=$7 ext=$8
    shift 8
    local signer=(-cert "$W/$ca.pem" -keyfile "$W/$ca.key") dir=$ca
    if [ "$ca" = self ]; then signer=(-selfsign -keyfile "$W/$key.key"); fi
    echo "$serial" > "$W/$dir/serial"
    q openssl req -new -utf8 -key "$W/$key.key" -subj "$subject" -out "$W/$name.csr"
    CADIR="$W/$dir" q openssl ca -batch -notext -utf8 -preserveDN "${signer[@]}" -in "$W/$name.csr" \
        -startdate "$start" -enddate "$end" ${ext:+-extensions "$ext"} -out "$W/$name.pem" "$@"
    ISSUED+=("$W/$name.pem" "$OUT/cert-$name.der")
}

# by_x509 NAME KEY SUBJECT SERIAL EXTFILE-SECTION: signed by root through openssl x509, which takes
# any serial (negative, zero) but no fixed dates.
by_x509() {
    local name=$1 key=$2 subject=$3 serial=$4 ext=$5
    q openssl req -new -utf8 -key "$W/$key.key" -subj "$subject" -out "$W/$name.csr"
    q openssl x509 -req -in "$W/$name.csr" -CA "$W/root.pem" -CAkey "$W/root.key" -set_serial "$serial" \
        -days 365 ${ext:+-extfile "$W/openssl.cnf" -extensions "$ext"} -outform DER -out "$OUT/cert-$name.der"
}

certificates() {
    ca self; ca root; ca inter
    issue self root root "/C=RU/O=Fixture/CN=Fixture Root CA" 01 20240101000000Z 20440101000000Z v3_root
    # High-bit serial (encoded with a leading 00); the leaves use 20-byte ones, one of them needing 21.
    issue root inter inter "/C=RU/O=Fixture/OU=Issuing/CN=Fixture Intermediate CA" 8000000000000001 \
        20240101000000Z 20390101000000Z v3_inter
    issue inter leafrsa leafrsa "/C=RU/O=Fixture/CN=Leaf RSA/emailAddress=leaf.rsa@fixture.example" \
        7A1B2C3D4E5F60718293A4B5C6D7E8F901234567 20250101000000Z 20300101000000Z v3_leaf
    issue inter leafec leafec "/C=RU/O=Fixture/CN=Leaf EC/emailAddress=leaf.ec@fixture.example" \
        F1E2D3C4B5A6978879695A4B3C2D1E0F00112233 20250101000000Z 20300101000000Z v3_leaf

    # One self-signed certificate per key type, so each signs with its own algorithm.
    issue self pss pss "/CN=Fixture RSA-PSS" 02 20250101000000Z 20300101000000Z v3_self \
        -sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:32
    issue self ec ec "/CN=Fixture EC P-256" 03 20250101000000Z 20300101000000Z v3_self
    issue self ed25519 ed25519 "/CN=Fixture Ed25519" 04 20250101000000Z 20300101000000Z v3_self
    issue self dsa dsa "/CN=Fixture DSA" 05 20250101000000Z 20300101000000Z v3_self

    # Times: 1949 and 2050 only fit GeneralizedTime; 1950 and 2049 are the ends of UTCTime.
    issue root gentime leafrsa "/CN=Fixture GeneralizedTime" 10 19491231235959Z 20500101000000Z v3_ku_nonrep
    issue root utctime leafrsa "/CN=Fixture UTCTime" 11 19500101000000Z 20491231235959Z v3_ku_nonrep
    issue root ku-all leafrsa "/CN=Fixture Key Usage" 12 20250101000000Z 20300101000000Z v3_ku_all
    issue root ext leafec "/C=RU/CN=Fixture Extensions" 13 20250101000000Z 20300101000000Z v3_ext
    issue root names leafrsa "/DC=org/DC=example/C=RU/ST=Москва/L=Москва/O=ООО \"Ромашка\", филиал/OU=Отдел №1\+2/CN=Иванов Иван Иванович+UID=ivanov/serialNumber=RU-1234567890/emailAddress=ivanov@example.org/unregisteredAttribute=not in openssl's table/title=Инженер/GN=Иван/SN=Иванов" \
        14 20250101000000Z 20300101000000Z v3_names
    STRING_MASK=pkix issue root bmp leafrsa "/C=RU/O=Latin Org/CN=Кириллица в BMPString" 16 \
        20250101000000Z 20300101000000Z ""
    issue root tsa tsa "/C=RU/O=Fixture/CN=Fixture TSA" 15 20250101000000Z 20300101000000Z v3_tsa

    by_x509 v1 ec "/CN=Fixture Version 1/O=Fixture" 0 ""
    by_x509 negative-serial ec "/CN=Fixture Negative Serial" -5 v3_ku_nonrep
    by_x509 empty-subject ec "/" 0x2A v3_empty_subject

    python3 "$HERE/der.py" from-pem "${ISSUED[@]}"
    cat "$W/inter.pem" "$W/root.pem" > "$W/chain.pem"
}

crls() {
    # Root revokes five of its certificates with different reasons; each entry is dated now.
    local root=(-cert "$W/root.pem" -keyfile "$W/root.key")
    CADIR="$W/root" q openssl ca "${root[@]}" -revoke "$W/ku-all.pem" -crl_compromise 20250301120000Z
    CADIR="$W/root" q openssl ca "${root[@]}" -revoke "$W/ext.pem" -crl_CA_compromise 20250302120000Z
    CADIR="$W/root" q openssl ca "${root[@]}" -revoke "$W/gentime.pem" -crl_reason superseded
    CADIR="$W/root" q openssl ca "${root[@]}" -revoke "$W/names.pem" -crl_hold holdInstructionReject
    CADIR="$W/root" q openssl ca "${root[@]}" -revoke "$W/utctime.pem"
    echo 1000 > "$W/root/crlnumber"
    CADIR="$W/root" q openssl ca "${root[@]}" -gencrl -crlexts crl_ext \
        -crl_lastupdate 20250401000000Z -crl_nextupdate 20250501000000Z -out "$W/root.crl"
    q openssl crl -in "$W/root.crl" -outform DER -out "$OUT/crl-root.der"
    # No extensions and no entries: version 1; a nextUpdate past 2050 is GeneralizedTime.
    CADIR="$W/inter" q openssl ca -name ca_no_crl_number -gencrl -cert "$W/inter.pem" -keyfile "$W/inter.key" \
        -crl_lastupdate 20250401000000Z -crl_nextupdate 20550401000000Z -out "$W/inter.crl"
    q openssl crl -in "$W/inter.crl" -outform DER -out "$OUT/crl-v1-empty.der"
    # openssl ca always writes nextUpdate (optional since X.509 v2): remove it and sign again.
    python3 "$HERE/der.py" drop-next-update "$OUT/crl-root.der" "$W/root.key" "$OUT/crl-no-next-update.der"
    q openssl crl -inform DER -in "$OUT/crl-no-next-update.der" -CAfile "$W/root.pem" -noout
}

messages() {
    local msg="$W/content.txt" rsa=(-signer "$W/leafrsa.pem" -inkey "$W/leafrsa.key")
    local ec=(-signer "$W/leafec.pem" -inkey "$W/leafec.key") dsa=(-signer "$W/dsa.pem" -inkey "$W/dsa.key")
    printf 'Fixture content, signed.' > "$msg"
    sign() {
        local name=$1
        shift
        q openssl cms -sign -binary -in "$msg" -outform DER -out "$OUT/$name.der" "$@"
    }
    sign cms-attached -nodetach "${rsa[@]}" -certfile "$W/chain.pem"
    sign cms-detached "${ec[@]}" -certfile "$W/chain.pem"
    sign cms-streamed -nodetach -stream "${rsa[@]}" -certfile "$W/chain.pem"
    [[ $(openssl asn1parse -inform DER -in "$OUT/cms-streamed.der") == *l=inf* ]] ||
        { echo "cms-streamed.der has no indefinite length" >&2; exit 1; }
    sign cms-two-signers -nodetach "${rsa[@]}" "${ec[@]}"
    sign cms-three-signers -nodetach "${rsa[@]}" -keyopt rsa_padding_mode:pss "${ec[@]}" "${dsa[@]}" \
        -certfile "$W/chain.pem"
    sign cms-noattr -nodetach -noattr "${ec[@]}"
    sign cms-nocerts -nodetach -nocerts "${rsa[@]}"
    sign cms-keyid -nodetach -keyid "${ec[@]}"

    # Counter-signature: a SignerInfo over the signature value of cms-attached's signer; without
    # signed attributes it signs that value directly, as RFC 5652 allows.
    python3 "$HERE/der.py" sig-value "$OUT/cms-attached.der" "$W/signature.bin"
    q openssl cms -sign -binary -in "$W/signature.bin" -outform DER -out "$W/counter.der" -noattr "${ec[@]}"
    python3 "$HERE/der.py" signer-info "$W/counter.der" "$W/counter-signer.der"
    python3 "$HERE/der.py" add-unsigned "$OUT/cms-attached.der" 1.2.840.113549.1.9.6 \
        "$W/counter-signer.der" "$OUT/cms-countersigned.der"

    # Time-stamp token over the same signature value, as a fixture of its own and as an attribute.
    q openssl ts -query -data "$W/signature.bin" -sha256 -cert -out "$W/request.tsq"
    CADIR="$W/root" q openssl ts -reply -queryfile "$W/request.tsq" -inkey "$W/tsa.key" \
        -signer "$W/tsa.pem" -chain "$W/root.pem" -token_out -out "$OUT/cms-tst.der"
    python3 "$HERE/der.py" add-unsigned "$OUT/cms-attached.der" 1.2.840.113549.1.9.16.2.14 \
        "$OUT/cms-tst.der" "$OUT/cms-timestamped.der"

    # PKCS#7: a signed message, and a certificates-only SignedData with no signers.
    q openssl smime -sign -binary -nodetach -in "$msg" "${rsa[@]}" -outform DER -out "$OUT/p7-signed.der"
    cat "$W/leafrsa.pem" "$W/chain.pem" > "$W/bundle.pem"
    q openssl crl2pkcs7 -in "$W/root.crl" -certfile "$W/bundle.pem" -outform DER -out "$OUT/p7-certs.der"
}

pem_copies() {
    q openssl x509 -inform DER -in "$OUT/cert-root.der" -out "$OUT/cert-root.pem"
    q openssl x509 -inform DER -in "$OUT/cert-names.der" -out "$OUT/cert-names.pem"
    q openssl crl -inform DER -in "$OUT/crl-root.der" -out "$OUT/crl-root.pem"
    q openssl cms -cmsout -inform DER -in "$OUT/cms-attached.der" -outform PEM -out "$OUT/cms-attached.pem"
    q openssl pkcs7 -inform DER -in "$OUT/p7-certs.der" -out "$OUT/p7-certs.pem"
}

keys
certificates
crls
messages
pem_copies
python3 "$HERE/expect.py" "$OUT"
