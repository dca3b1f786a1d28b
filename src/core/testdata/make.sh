#!/bin/sh
# Makes the messages of token_test.cpp by OpenSSL's tools and, for forms that these don't write, by hand in Python.
set -e
cd "$(dirname "$0")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
printf data >"$work/data"
cat >"$work/ts.cnf" <<EOF
[tsa]
default_tsa = t
[t]
serial = $work/serial
crypto_device = builtin
signer_cert = $work/tsa.pem
certs = $work/root.pem
signer_key = $work/tsa.key
signer_digest = sha256
default_policy = 1.2.3.4.1
digests = sha256
accuracy = secs:1, millisecs:500, microsecs:100
ordering = yes
tsa_name = yes
ess_cert_id_chain = no
ess_cert_id_alg = sha256
[v3]
extendedKeyUsage = critical,timeStamping
EOF
openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout "$work/root.key" \
    -subj "/CN=Test Root" -days 36500 -out "$work/root.pem"
openssl req -new -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout "$work/tsa.key" \
    -subj "/CN=Test Authority" -out "$work/tsa.csr"
openssl x509 -req -in "$work/tsa.csr" -CA "$work/root.pem" -CAkey "$work/root.key" -set_serial 77 \
    -days 36500 -extfile "$work/ts.cnf" -extensions v3 -out "$work/tsa.pem"
openssl x509 -in "$work/tsa.pem" -outform DER -out tsa.cer
openssl x509 -in "$work/root.pem" -outform DER -out root.cer
echo 00 >"$work/serial"
openssl ts -query -data "$work/data" -sha256 -tspolicy 1.2.3.4.1 -cert -out request.der
openssl ts -reply -config "$work/ts.cnf" -queryfile request.der -out response.der
openssl ts -reply -config "$work/ts.cnf" -in response.der -token_out -out token.der
openssl ts -query -data "$work/data" -sha256 -tspolicy 1.2.3.5 -out "$work/other.der"
openssl ts -reply -config "$work/ts.cnf" -queryfile "$work/other.der" -out refusal.der
python3 forms.py
