#!/bin/sh
# Makes the certificates and messages of the tests beside it with the openssl tool (3.0, with the GOST engine for the
# two gost files). The keys are thrown away; the files are kept as they came.
set -eu
out=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
printf 'the content that is signed\n' > content.txt
cp content.txt "$out/content.txt"

cat > ext.cnf <<'CNF'
[tsa]
keyUsage = critical, digitalSignature
extendedKeyUsage = critical, timeStamping
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
CNF


openssl req -x509 -newkey rsa:2048 -nodes -keyout root.key -out root.pem -days 36500 -sha256 \
    -subj "/C=XX/O=Basalt Test/CN=Root" -addext "keyUsage=critical,keyCertSign,cRLSign" 2>/dev/null

# leaf NAME SERIAL KEY-OPTIONS...: a time-stamping certificate under the root
leaf() {
    name=$1 serial=$2
    shift 2
    openssl genpkey -out "$name.key" "$@"
    openssl req -new -key "$name.key" -subj "/C=XX/O=Basalt Test/CN=$name" -out "$name.csr" ${gost:+-engine "$gost"}
    openssl x509 -req -in "$name.csr" -CA root.pem -CAkey root.key -set_serial "$serial" -days 36500 -sha256 \
        -extfile ext.cnf -extensions tsa -out "$name.pem" ${gost:+-engine "$gost"} 2>/dev/null
    openssl x509 -in "$name.pem" -outform DER -out "$out/$name.cer" ${gost:+-engine "$gost"}
}
gost=
leaf rsa 0x00F00102030405 -algorithm RSA -pkeyopt rsa_keygen_bits:2048
leaf ec 0x02 -algorithm EC -pkeyopt ec_paramgen_curve:P-256
leaf dsa 0x03 -paramfile /dev/stdin <<DSA
$(openssl genpkey -genparam -algorithm DSA -pkeyopt dsa_paramgen_bits:2048 2>/dev/null)
DSA
openssl x509 -in root.pem -outform DER -out "$out/root.cer"
cat root.pem rsa.pem > "$out/bundle.pem"

# sign OUT CERTIFICATE OPTIONS...
sign() {
    target=$1 signer=$2
    shift 2
    openssl cms -sign -binary -nodetach -in content.txt -signer "$signer.pem" -inkey "$signer.key" -outform DER \
        -out "$out/$target.p7m" "$@"
}
sign rsa rsa -md sha256 -certfile root.pem
sign rsa_sha1 rsa -md sha1
sign rsa_no_attributes rsa -md sha256 -noattr
sign rsa_key_identifier rsa -md sha256 -keyid
sign rsa_pss rsa -md sha384 -keyopt rsa_padding_mode:pss -keyopt rsa_mgf1_md:sha256 -keyopt rsa_pss_saltlen:20
sign rsa_indefinite rsa -md sha256 -stream
sign rsa_no_certificate rsa -md sha256 -nocerts
sign ec ec -md sha256
sign dsa dsa -md sha256
sign two_signers rsa -md sha256 -signer ec.pem -inkey ec.key
openssl cms -sign -binary -in content.txt -signer rsa.pem -inkey rsa.key -outform DER -out "$out/detached.p7m"
openssl cms -data_create -binary -in content.txt -outform DER -out "$out/data.p7m"

gost=gost
leaf gost2012 0x12 -engine gost -algorithm gost2012_256 -pkeyopt paramset:A 2>/dev/null
openssl cms -sign -binary -nodetach -engine gost -in content.txt -signer gost2012.pem -inkey gost2012.key \
    -md md_gost12_256 -outform DER -out "$out/gost2012.p7m" 2>/dev/null

# A CRL that names the RSA certificate, for key compromise.
cat > ca.cnf <<'CNF'
[ca]
default_ca = d
[d]
database = index.txt
crlnumber = crlnumber
default_md = sha256
default_crl_days = 36500
CNF
: > index.txt
echo 01 > crlnumber
openssl ca -config ca.cnf -cert root.pem -keyfile root.key -revoke rsa.pem -crl_reason keyCompromise 2>/dev/null
openssl ca -config ca.cnf -cert root.pem -keyfile root.key -gencrl -out crl.pem 2>/dev/null
openssl crl -in crl.pem -outform DER -out "$out/root.crl"

# A time-stamp token.
cat > ts.cnf <<'CNF'
[tsa]
default_tsa = t
[t]
serial = serial
default_policy = 1.2.3.4
digests = sha256
signer_digest = sha256
ess_cert_id_alg = sha256
CNF
echo 07 > serial
openssl ts -query -data content.txt -sha256 -cert -out q.tsq -config ts.cnf 2>/dev/null
openssl ts -reply -config ts.cnf -section t -queryfile q.tsq -signer rsa.pem -inkey rsa.key -token_out -out "$out/token.tst" \
    2>/dev/null

# An OCSP answer.
openssl ocsp -index index.txt -CA root.pem -rsigner root.pem -rkey root.key -issuer root.pem -cert rsa.pem \
    -respout "$out/rsa.ocsp" -no_nonce > /dev/null 2>&1
ls -l "$out"
