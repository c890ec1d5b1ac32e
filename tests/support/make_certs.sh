#!/bin/sh
# Makes a throw-away CA and server certificates in the folder given, for the
# TLS tests: ca.pem (the CA), and a key and certificate for each of
#   good       signed by the CA for localhost and 127.0.0.1
#   wronghost  signed by the CA for mail.invalid only
#   expired    signed by the CA for localhost, valid in 2020 only
#   selfsigned signed by itself for localhost (no one trusts it)
# Each *.pem of a server holds its certificate then the CA's, as servers send.
set -e
cd "$1"
key() { openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out "$1.key" 2>/dev/null; }
key ca
openssl req -x509 -new -key ca.key -out ca.pem -days 3 -subj "/CN=Corva Test CA" \
    -addext "basicConstraints=critical,CA:TRUE" -addext "keyUsage=critical,keyCertSign,cRLSign"
cat > ca.cnf <<CNF
[ca]
default_ca = test
[test]
dir = .
database = index.txt
new_certs_dir = .
serial = serial
default_md = sha256
policy = any
copy_extensions = copy
unique_subject = no
[any]
commonName = supplied
CNF
: > index.txt
echo 1000 > serial
sign() { # name, common name, alternative names, not before, not after
    key "$1"
    openssl req -new -key "$1.key" -out "$1.csr" -subj "/CN=$2" -addext "subjectAltName=$3"
    openssl ca -batch -config ca.cnf -cert ca.pem -keyfile ca.key -in "$1.csr" -out "$1.crt" \
        -startdate "$4" -enddate "$5" -notext 2>/dev/null
    cat "$1.crt" ca.pem > "$1.pem"
}
from=$(date -u -d '-1 day' +%y%m%d%H%M%SZ)
until=$(date -u -d '+2 days' +%y%m%d%H%M%SZ)
sign good localhost "DNS:localhost,IP:127.0.0.1" "$from" "$until"
sign wronghost mail.invalid "DNS:mail.invalid" "$from" "$until"
sign expired localhost "DNS:localhost,IP:127.0.0.1" 200101000000Z 201231000000Z
key selfsigned
openssl req -x509 -new -key selfsigned.key -out selfsigned.pem -days 3 -subj "/CN=localhost" \
    -addext "subjectAltName=DNS:localhost,IP:127.0.0.1"
