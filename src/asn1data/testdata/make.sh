#!/bin/sh
# Makes the DER files of this folder with OpenSSL's command, and oracles.tsv, which names the type of each. Keys and
# dates are new on every run; what the tests rely on is the form alone. GOST files need OpenSSL's gost engine.
set -eu
cd "$(dirname "$0")"
here=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
rm -f ./*.der oracles.tsv
cd "$work"

keep() { # keep FILE TYPE: a DER file goes into the folder under its own name
    cp "$1" "$here/$1"
    printf '%s\t%s\n' "$1" "$2" >>"$here/oracles.tsv"
}

cat >ca.cnf <<'CNF'
[req]
distinguished_name = dn
prompt = no
string_mask = utf8only
[dn]
C = RU
ST = Region
L = Town
O = Example Organization
OU = Unit A
CN = Example Root
emailAddress = root@example.org
[dn_leaf]
C = RU
O = Example Organization
0.OU = Unit A
1.OU = Unit B
CN = Leaf +
serialNumber = 12345
title = Engineer
GN = Given
SN = Surname
initials = GS
pseudonym = Ps
street = Street 1
postalCode = 123456
dnQualifier = q
0.DC = example
1.DC = org
unstructuredName = some name
1.2.3.4.5 = not registered
[req_leaf]
distinguished_name = dn_leaf
prompt = no
string_mask = utf8only
req_extensions = csr_ext
attributes = csr_attributes
[csr_attributes]
challengePassword = secret1
unstructuredName = a request
[csr_ext]
basicConstraints = CA:false
keyUsage = digitalSignature
extendedKeyUsage = timeStamping
[root_ext]
basicConstraints = critical, CA:true, pathlen:3
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
[leaf_ext]
basicConstraints = CA:false
keyUsage = critical, digitalSignature, nonRepudiation, decipherOnly, keyAgreement
extendedKeyUsage = critical, timeStamping, 1.2.3.4
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid, issuer:always
subjectAltName = @alt
issuerAltName = email:ca@example.org
crlDistributionPoints = cdp1, cdp2
freshestCRL = URI:http://example.org/delta.crl
authorityInfoAccess = OCSP;URI:http://example.org/ocsp, caIssuers;URI:http://example.org/ca.cer
subjectInfoAccess = 1.3.6.1.5.5.7.48.3;URI:http://example.org/tsa
certificatePolicies = 1.2.3.4, @policy
policyMappings = 1.2.3:1.2.4, 1.2.5:1.2.6
policyConstraints = requireExplicitPolicy:3, inhibitPolicyMapping:1
nameConstraints = permitted;email:example.org, excluded;IP:10.0.0.0/255.0.0.0
inhibitAnyPolicy = 2
noCheck = ignored
2.5.29.16 = ASN1:SEQUENCE:period
1.2.643.100.111 = ASN1:UTF8String:Tool
1.2.3.4.6 = DER:04:03:01:02:03
[period]
notBefore = IMPLICIT:0,GENERALIZEDTIME:20200101000000Z
notAfter = IMPLICIT:1,GENERALIZEDTIME:20300101000000Z
[alt]
email = leaf@example.org
URI = http://example.org/leaf
DNS = leaf.example.org
RID = 1.2.3.4
IP.1 = 10.1.2.3
IP.2 = ::1
dirName = dir
otherName = 1.3.6.1.4.1.311.20.2.3;UTF8:leaf@example.org
[dir]
C = RU
O = Directory
[cdp1]
fullname = URI:http://example.org/a.crl, dirName:dir
CRLissuer = dirName:dir
reasons = keyCompromise, CACompromise
[cdp2]
relativename = rel
[rel]
CN = relative
[policy]
policyIdentifier = 1.2.3.5
CPS.1 = http://example.org/cps
userNotice.1 = @notice
[notice]
explicitText = UTF8:A text that tells what this policy is about
organization = Example
noticeNumbers = 1, 2, 3000000
[tsa_ext]
basicConstraints = CA:false
keyUsage = critical, digitalSignature
extendedKeyUsage = critical, timeStamping
[ca]
default_ca = ca_default
[ca_default]
database = index.txt
crlnumber = crlnumber
default_md = sha256
default_crl_days = 30
unique_subject = no
[crl_ext]
authorityKeyIdentifier = keyid, issuer:always
issuerAltName = URI:http://example.org
issuingDistributionPoint = critical, @idp
freshestCRL = URI:http://example.org/delta.crl
[idp]
fullname = URI:http://example.org/a.crl
indirectCRL = TRUE
onlysomereasons = keyCompromise, superseded
[tsa]
default_tsa = tsa_default
[tsa_default]
serial = tsserial
crypto_device = builtin
signer_digest = sha256
default_policy = 1.2.3.4.1
digests = sha1, sha256, sha512
accuracy = secs:1, millisecs:500, microsecs:100
ordering = yes
tsa_name = yes
ess_cert_id_chain = yes
ess_cert_id_alg = sha256
CNF

# Certificates and requests
openssl req -x509 -newkey rsa:2048 -nodes -keyout root.key -config ca.cnf -extensions root_ext -days 3650 \
    -sha256 -out root.pem 2>/dev/null
openssl x509 -in root.pem -outform DER -out certificate_root.der
keep certificate_root.der Certificate
openssl req -newkey rsa:2048 -nodes -keyout leaf.key -config ca.cnf -section req_leaf -out leaf.csr 2>/dev/null
openssl req -in leaf.csr -outform DER -out request.der
keep request.der CertificationRequest
openssl x509 -req -in leaf.csr -CA root.pem -CAkey root.key -set_serial 0x00d1d2d3d4d5d6d7d8d9dadbdcdddedfe0 \
    -extfile ca.cnf -extensions leaf_ext -days 3650 -out leaf.pem 2>/dev/null
openssl x509 -in leaf.pem -outform DER -out certificate_all_extensions.der
keep certificate_all_extensions.der Certificate
openssl req -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout tsa.key -subj '/CN=TSA/C=RU' -out tsa.csr 2>/dev/null
openssl x509 -req -in tsa.csr -CA root.pem -CAkey root.key -set_serial 2 -extfile ca.cnf -extensions tsa_ext \
    -days 3650 -out tsa.pem 2>/dev/null
openssl x509 -in tsa.pem -outform DER -out certificate_ec.der
keep certificate_ec.der Certificate
openssl req -x509 -newkey rsa-pss -pkeyopt rsa_keygen_bits:2048 -pkeyopt rsa_pss_keygen_md:sha256 \
    -pkeyopt rsa_pss_keygen_saltlen:32 -nodes -keyout pss.key -subj '/CN=PSS' -days 20000 -out pss.pem 2>/dev/null
openssl x509 -in pss.pem -outform DER -out certificate_pss_after_2050.der
keep certificate_pss_after_2050.der Certificate

# Lists
touch index.txt
echo 0102030405060708090a0b0c0d0e0f10111213 >crlnumber
openssl ca -config ca.cnf -gencrl -keyfile root.key -cert root.pem -out empty.crl 2>/dev/null
openssl crl -in empty.crl -outform DER -out list_empty.der
keep list_empty.der CertificateListLegacy
openssl ca -config ca.cnf -revoke leaf.pem -keyfile root.key -cert root.pem -crl_compromise 20240102030405Z 2>/dev/null
openssl ca -config ca.cnf -revoke tsa.pem -keyfile root.key -cert root.pem -crl_hold holdInstructionReject 2>/dev/null
openssl ca -config ca.cnf -revoke pss.pem -keyfile root.key -cert root.pem -crl_reason superseded 2>/dev/null
openssl ca -config ca.cnf -gencrl -keyfile root.key -cert root.pem -crlexts crl_ext -out full.crl 2>/dev/null
openssl crl -in full.crl -outform DER -out list_with_entries.der
keep list_with_entries.der CertificateListLegacy
cp list_with_entries.der list_raw.der
keep list_raw.der CertificateList

# OCSP
openssl ocsp -issuer root.pem -cert leaf.pem -cert tsa.pem -sha256 -cert root.pem -signer leaf.pem -signkey leaf.key \
    -reqout ocsp_request.der
keep ocsp_request.der OCSPRequest
openssl ocsp -index index.txt -CA root.pem -rsigner root.pem -rkey root.key -reqin ocsp_request.der -ndays 5 \
    -respout ocsp_response.der >/dev/null 2>&1
keep ocsp_response.der OCSPResponse
openssl ocsp -index index.txt -CA root.pem -rsigner root.pem -rkey root.key -reqin ocsp_request.der -resp_key_id \
    -respout ocsp_response_by_key.der >/dev/null 2>&1
keep ocsp_response_by_key.der OCSPResponse

# Time-stamps
echo 01 >tsserial
printf 'some data\n' >data
openssl ts -query -data data -sha256 -cert -tspolicy 1.2.3.4.1 -out ts_request.der 2>/dev/null
keep ts_request.der TimeStampReq
openssl ts -query -data data -sha512 -no_nonce -out ts_request_small.der 2>/dev/null
keep ts_request_small.der TimeStampReq
openssl ts -reply -config ca.cnf -queryfile ts_request.der -signer tsa.pem -inkey tsa.key -chain root.pem \
    -out ts_response.der 2>/dev/null
keep ts_response.der TimeStampResp
cp ts_response.der ts_response_raw.der
keep ts_response_raw.der TimeStampRespRaw
openssl ts -reply -config ca.cnf -queryfile ts_request.der -signer tsa.pem -inkey tsa.key -chain root.pem -token_out \
    -out ts_token.der 2>/dev/null
keep ts_token.der ContentInfo
cp ts_token.der ts_token_legacy.der
keep ts_token_legacy.der ContentInfoLegacy
openssl ts -query -data data -md5 -out bad.tsq 2>/dev/null
openssl ts -reply -config ca.cnf -queryfile bad.tsq -signer tsa.pem -inkey tsa.key -out ts_refusal.der 2>/dev/null
keep ts_refusal.der TimeStampResp
openssl cms -verify -noverify -inform DER -in ts_token.der -out tst_info.der 2>/dev/null
keep tst_info.der TSTInfo
cp tst_info.der tst_info_raw.der
keep tst_info_raw.der TSTInfoRaw

# Messages
openssl cms -sign -binary -nodetach -in data -signer leaf.pem -inkey leaf.key -signer tsa.pem -inkey tsa.key \
    -certfile root.pem -outform DER -out cms_signed.der
keep cms_signed.der ContentInfo
cp cms_signed.der cms_signed_legacy.der
keep cms_signed_legacy.der ContentInfoLegacy
openssl cms -sign -binary -keyid -in data -signer leaf.pem -inkey leaf.key -outform DER -receipt_request_to \
    leaf@example.org -receipt_request_all -out cms_signed_keyid.der
keep cms_signed_keyid.der ContentInfo
openssl cms -sign -binary -noattr -nosmimecap -in data -signer leaf.pem -inkey leaf.key -outform DER \
    -out cms_signed_no_attributes.der
keep cms_signed_no_attributes.der ContentInfo
openssl cms -encrypt -binary -aes-256-cbc -in data -outform DER -recip leaf.pem -recip tsa.pem -out cms_enveloped.der
keep cms_enveloped.der ContentInfo
openssl cms -encrypt -binary -aes128 -pwri_password secret -secretkey 000102030405060708090a0b0c0d0e0f \
    -secretkeyid c0ffee -in data -outform DER -out cms_enveloped_password.der
keep cms_enveloped_password.der ContentInfo
openssl cms -digest_create -binary -md sha256 -in data -outform DER -out cms_digested.der
keep cms_digested.der ContentInfo
openssl cms -EncryptedData_encrypt -binary -aes128 -secretkey 000102030405060708090a0b0c0d0e0f -in data \
    -outform DER -out cms_encrypted.der
keep cms_encrypted.der ContentInfo
openssl crl2pkcs7 -in full.crl -certfile leaf.pem -outform DER -out cms_certificates_and_list.der
keep cms_certificates_and_list.der ContentInfo

# Management messages
cmp() { openssl cmp -use_mock_srv -srv_ref user -srv_secret pass:secret -ref user -secret pass:secret \
    -recipient /CN=CA -srv_cert root.pem "$@" >/dev/null 2>&1 || true; }
cmp -cmd ir -newkey leaf.key -subject /CN=New -popo 1 -sans leaf.example.org -days 10 -certout c.pem -rsp_cert leaf.pem \
    -reqout cmp_ir.der,cmp_conf.der -rspout cmp_ip.der,cmp_pkiconf.der
cmp -cmd genm -geninfo 1.2.3.4:int:5 -infotype signKeyPairTypes -reqout cmp_genm.der -rspout cmp_genp.der
cmp -cmd p10cr -csr leaf.csr -certout c.pem -rsp_cert leaf.pem -reqout cmp_p10cr.der,x.der -rspout cmp_cp.der,y.der
cmp -cmd rr -oldcert leaf.pem -revreason 1 -reqout cmp_rr.der -rspout cmp_rp.der
cmp -cmd ir -newkey leaf.key -subject /CN=New -certout c.pem -grant_implicitconf -pkistatus 2 -failurebits 5 \
    -statusstring refused -reqout cmp_ir2.der -rspout cmp_rejected.der
for f in cmp_*.der; do [ -s "$f" ] && keep "$f" PKIMessage; done

# Keys and parameters
openssl rsa -in leaf.key -traditional -outform DER -out rsa_private_key.der 2>/dev/null
keep rsa_private_key.der RSAPrivateKey
openssl rsa -in leaf.key -RSAPublicKey_out -outform DER -out rsa_public_key.der 2>/dev/null
keep rsa_public_key.der RSAPublicKey
cp rsa_public_key.der rsa_public_key_unsigned.der
keep rsa_public_key_unsigned.der RsaPubKey
openssl pkey -in leaf.key -pubout -outform DER -out subject_public_key_info.der
keep subject_public_key_info.der SubjectPublicKeyInfo
openssl pkcs8 -topk8 -nocrypt -in tsa.key -outform DER -out private_key_info.der
keep private_key_info.der PrivateKeyInfo
openssl genpkey -genparam -algorithm DSA -pkeyopt dsa_paramgen_bits:1024 -out dsa.par 2>/dev/null
openssl asn1parse -in dsa.par -noout -out dss_parms.der
keep dss_parms.der Dss_Parms
openssl genpkey -genparam -algorithm DHX -pkeyopt dh_rfc5114:2 -out dhx.par 2>/dev/null
openssl genpkey -paramfile dhx.par -out dhx.key
openssl pkey -in dhx.key -pubout -outform DER -out dh_public_key_info.der
keep dh_public_key_info.der SubjectPublicKeyInfo
openssl genpkey -genparam -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -pkeyopt ec_param_enc:explicit \
    -out ec.par 2>/dev/null
openssl asn1parse -in ec.par -noout -out ec_parameters.der
keep ec_parameters.der ECParameters
openssl dgst -sha256 -sign tsa.key -out ecdsa_signature.der data
keep ecdsa_signature.der ECDSA_Sig_Value

# GOST
gost() { OPENSSL_CONF=/dev/null openssl "$@" -engine gost 2>/dev/null; }
for alg in gost2001 gost2012_256 gost2012_512; do
    if gost req -x509 -newkey $alg -pkeyopt paramset:A -nodes -keyout $alg.key -subj "/CN=$alg/C=RU" -days 3650 \
        -config "$work/ca.cnf" -extensions root_ext -outform DER -out certificate_$alg.der; then
        keep certificate_$alg.der Certificate
        openssl x509 -inform DER -in certificate_$alg.der -out $alg.pem
        gost cms -sign -binary -nodetach -in data -signer $alg.pem -inkey $alg.key -outform DER \
            -out cms_signed_$alg.der && keep cms_signed_$alg.der ContentInfo
    fi
done
chmod 644 "$here"/*.der
