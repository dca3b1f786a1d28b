#!/bin/sh
# Makes plain.cer, a self-signed certificate that no test verifies.
cd "$(dirname "$0")" || exit 1
openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout /dev/null \
    -subj "/CN=Plain" -days 36500 -outform DER -out plain.cer
