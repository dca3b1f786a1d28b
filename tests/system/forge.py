"""Forges certificates, CRLs, tokens and responses field by field, good ones and bad ones alike.

Structures are those of python3-asn1crypto; keys and signatures come from the openssl command. Nothing here
shares code with the library under test.
"""

import base64
import datetime
import hashlib
import itertools
import pathlib
import subprocess

from asn1crypto import algos, core, crl, keys, ocsp, tsp, x509

UTC = datetime.timezone.utc
TIME_STAMPING = "time_stamping"
ID_SIGNING_CERTIFICATE = "1.2.840.113549.1.9.16.2.12"
ID_SIGNING_CERTIFICATE_V2 = "1.2.840.113549.1.9.16.2.47"

_serials = itertools.count(0x1001)


def now():
    return datetime.datetime.now(UTC).replace(microsecond=0)


def days(count):
    return datetime.timedelta(days=count)


class Key:
    """A P-256 key in a file, with its SubjectPublicKeyInfo."""

    def __init__(self, folder):
        self.path = pathlib.Path(folder) / f"key{next(_serials)}.pem"
        subprocess.run(
            ["openssl", "ecparam", "-name", "prime256v1", "-genkey", "-noout", "-out", self.path],
            check=True, capture_output=True)
        der = subprocess.run(["openssl", "pkey", "-in", self.path, "-pubout", "-outform", "DER"],
                             check=True, capture_output=True).stdout
        self.spki = keys.PublicKeyInfo.load(der)

    def sign(self, data):
        return subprocess.run(["openssl", "dgst", "-sha256", "-sign", self.path],
                              input=data, check=True, capture_output=True).stdout


class Identity:
    """A certificate with its key."""

    def __init__(self, certificate, key):
        self.certificate = certificate
        self.key = key

    @property
    def der(self):
        return self.certificate.dump()

    @property
    def name(self):
        return self.certificate.subject

    @property
    def serial(self):
        return self.certificate.serial_number

    def write_pem(self, path):
        path.write_bytes(pem("CERTIFICATE", self.der))
        return path


def pem(label, der):
    body = base64.encodebytes(der).decode()
    return f"-----BEGIN {label}-----\n{body}-----END {label}-----\n".encode()


def name_of(common_name):
    return x509.Name.build({"organization_name": "Forge", "common_name": common_name})


def issue(folder, common_name, issuer=None, *, ca=False, usage=(TIME_STAMPING,), usage_critical=True,
          begin=None, end=None, crl_url=None, ocsp_url=None, key=None, serial=None, extra_extensions=()):
    """A certificate; without issuer it is its own. `usage` None leaves the extended key usage out. Its name is
    made from the common name, or given whole."""
    key = key or Key(folder)
    subject = common_name if isinstance(common_name, x509.Name) else name_of(common_name)
    extensions = [
        {"extn_id": "basic_constraints", "critical": True, "extn_value": {"ca": ca}},
        {"extn_id": "key_usage", "critical": True,
         "extn_value": {"key_cert_sign", "crl_sign"} if ca else {"digital_signature"}},
        {"extn_id": "key_identifier", "critical": False, "extn_value": key.spki.sha1},
    ]
    if usage is not None and issuer is not None and (not ca or usage != (TIME_STAMPING,)):
        extensions.append({"extn_id": "extended_key_usage", "critical": usage_critical,
                           "extn_value": list(usage)})
    if crl_url:
        extensions.append({"extn_id": "crl_distribution_points", "critical": False, "extn_value": [
            {"distribution_point": x509.DistributionPointName(
                "full_name", [x509.GeneralName("uniform_resource_identifier", crl_url)])}]})
    if ocsp_url:
        extensions.append({"extn_id": "authority_information_access", "critical": False, "extn_value": [
            {"access_method": "ocsp",
             "access_location": x509.GeneralName("uniform_resource_identifier", ocsp_url)}]})
    extensions.extend(extra_extensions)
    algorithm = {"algorithm": "sha256_ecdsa"}
    tbs = x509.TbsCertificate({
        "version": "v3",
        "serial_number": next(_serials) if serial is None else serial,
        "signature": algorithm,
        "issuer": issuer.name if issuer else subject,
        "validity": {
            "not_before": x509.Time({"utc_time": begin or now() - days(30)}),
            "not_after": x509.Time({"utc_time": end or now() + days(30)})},
        "subject": subject,
        "subject_public_key_info": key.spki,
        "extensions": extensions,
    })
    signer = issuer.key if issuer else key
    certificate = x509.Certificate({
        "tbs_certificate": tbs, "signature_algorithm": algorithm,
        "signature_value": signer.sign(tbs.dump())})
    return Identity(x509.Certificate.load(certificate.dump()), key)


def authority(folder):
    """A root, an authority under it, and the file of the root."""
    root = issue(folder, "the root", ca=True)
    return root, issue(folder, "the tsa", root), root.write_pem(folder / "root.pem")


def make_crl(issuer, revoked=()):
    """DER of a CRL; `revoked` are (serial, date, reason or None)."""
    entries = []
    for serial, date, reason in revoked:
        entry = {"user_certificate": serial, "revocation_date": x509.Time({"utc_time": date})}
        if reason is not None:
            entry["crl_entry_extensions"] = [
                {"extn_id": "crl_reason", "critical": False, "extn_value": crl.CRLReason(reason)}]
        entries.append(entry)
    algorithm = {"algorithm": "sha256_ecdsa"}
    fields = {
        "version": "v2", "signature": algorithm, "issuer": issuer.name,
        "this_update": x509.Time({"utc_time": now() - days(1)}),
        "next_update": x509.Time({"utc_time": now() + days(7)}),
        "crl_extensions": [{"extn_id": "crl_number", "critical": False, "extn_value": 1}],
    }
    if entries:
        fields["revoked_certificates"] = entries
    tbs = crl.TbsCertList(fields)
    return crl.CertificateList({
        "tbs_cert_list": tbs, "signature_algorithm": algorithm,
        "signature": issuer.key.sign(tbs.dump())}).dump()


def twin(identity):
    """The same certificate with the other form of its signature by P-256, which needs no key."""
    order = 0xFFFFFFFF00000000FFFFFFFFFFFFFFFFBCE6FAADA7179E84F3B9CAC2FC632551
    r, s = (core.Integer.load(part.dump()).native for part in core.SequenceOf.load(
        identity.certificate["signature_value"].native, spec=core.Integer))
    other = identity.certificate.copy()
    other["signature_value"] = element(0x30, core.Integer(r).dump() + core.Integer(order - s).dump())
    return Identity(x509.Certificate.load(other.dump(force=True)), identity.key)


def answer_of(responder, issuer, certificate, reason=None, made=datetime.timedelta(hours=1)):
    """A responder's word of so long ago: good, or revoked for the reason since two days."""
    status = ocsp.CertStatus("good") if reason is None else ocsp.CertStatus("revoked", ocsp.RevokedInfo(
        {"revocation_time": now() - days(2), "revocation_reason": reason}))
    data = ocsp.ResponseData({
        "responder_id": ocsp.ResponderId("by_name", responder.name), "produced_at": now() - made,
        "responses": [{"cert_id": {"hash_algorithm": {"algorithm": "sha1"},
                                   "issuer_name_hash": hashlib.sha1(issuer.name.dump()).digest(),
                                   "issuer_key_hash": issuer.key.spki.sha1, "serial_number": certificate.serial},
                       "cert_status": status, "this_update": now() - made,
                       "next_update": now() + days(2)}]})
    return ocsp.OCSPResponse({"response_status": "successful", "response_bytes": {
        "response_type": "basic_ocsp_response", "response": ocsp.BasicOCSPResponse({
            "tbs_response_data": data, "signature_algorithm": {"algorithm": "sha256_ecdsa"},
            "signature": responder.key.sign(data.dump()), "certs": [responder.certificate]})}}).dump()


def among_lists(answer):
    """As it stands among the lists of a token."""
    return element(0xA1, core.ObjectIdentifier("1.3.6.1.5.5.7.16.2").dump() + answer)


def tst_info(digest, *, time=None, nonce=None, tsa=None, **more):
    fields = {
        "version": "v1", "policy": "1.2.3.4",
        "message_imprint": {"hash_algorithm": {"algorithm": "sha256"}, "hashed_message": digest},
        "serial_number": next(_serials), "gen_time": time or now(), **more,
    }
    if nonce is not None:
        fields["nonce"] = nonce
    if tsa is not None:
        fields["tsa"] = x509.GeneralName("directory_name", tsa)
    return tsp.TSTInfo(fields).dump()


def info_for(request, **fields):
    """The TSTInfo that answers the request in these bytes, but for the fields that are given."""
    query = tsp.TimeStampReq.load(request)
    asked = {"digest": query["message_imprint"]["hashed_message"].native, "nonce": query["nonce"].native}
    return tst_info(**{**asked, **fields})


def length_of(size):
    if size < 0x80:
        return bytes([size])
    octets = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([0x80 | len(octets)]) + octets


def element(tag, contents):
    return bytes([tag]) + length_of(len(contents)) + contents


def attribute(oid, *values):
    """The DER of an attribute out of encoded values, which asn1crypto would want to know."""
    return element(0x30, core.ObjectIdentifier(oid).dump() + element(0x31, b"".join(values)))


def issuer_serial(certificate):
    names = element(0x30, element(0xA4, certificate.certificate.issuer.dump()))
    return element(0x30, names + core.Integer(certificate.serial).dump())


def ess_cert_id(certificate, with_serial=True):
    body = core.OctetString(hashlib.sha1(certificate.der).digest()).dump()
    return element(0x30, body + (issuer_serial(certificate) if with_serial else b""))


def ess_cert_id_v2(certificate, with_serial=True, algorithm=None):
    body = b""
    digest = hashlib.sha256(certificate.der).digest()
    if algorithm is not None:
        body += algos.DigestAlgorithm({"algorithm": algorithm}).dump()
        digest = hashlib.new(algorithm, certificate.der).digest()
    body += core.OctetString(digest).dump()
    return element(0x30, body + (issuer_serial(certificate) if with_serial else b""))


def signing_certificate(*ids):
    return attribute(ID_SIGNING_CERTIFICATE, element(0x30, element(0x30, b"".join(ids))))


def signing_certificate_v2(*ids):
    return attribute(ID_SIGNING_CERTIFICATE_V2, element(0x30, element(0x30, b"".join(ids))))


def content_type_attribute(oid="1.2.840.113549.1.9.16.1.4"):
    return attribute("1.2.840.113549.1.9.3", core.ObjectIdentifier(oid).dump())


def message_digest_attribute(content):
    return attribute("1.2.840.113549.1.9.4", core.OctetString(hashlib.sha256(content).digest()).dump())


def signed_attributes(signer, content, *, ess=None, drop=(), extra=()):
    """The attributes of a good token; `ess` replaces the signing-certificate ones, `drop` leaves some out."""
    attributes = {
        "contentType": [content_type_attribute()],
        "messageDigest": [message_digest_attribute(content)],
        "ess": [signing_certificate_v2(ess_cert_id_v2(signer))] if ess is None else list(ess),
    }
    chosen = [a for name, values in attributes.items() if name not in drop for a in values]
    return chosen + list(extra)


def signer_info(signer, content, attributes, *, key=None, sid=None):
    ecdsa = algos.SignedDigestAlgorithm({"algorithm": "sha256_ecdsa"}).dump()
    sha256 = algos.DigestAlgorithm({"algorithm": "sha256"}).dump()
    sid = sid or element(0x30, signer.certificate.issuer.dump() + core.Integer(signer.serial).dump())
    body = core.Integer(3 if sid[0] == 0x80 else 1).dump() + sid + sha256
    to_sign = content
    if attributes is not None:
        ordered = b"".join(sorted(attributes))
        body += element(0xA0, ordered)
        to_sign = element(0x31, ordered)
    signature = (key or signer.key).sign(to_sign)
    return element(0x30, body + ecdsa + core.OctetString(signature).dump())


def signed_data(content, infos, certificates, *, content_oid="1.2.840.113549.1.9.16.1.4", crls=()):
    sha256 = algos.DigestAlgorithm({"algorithm": "sha256"}).dump()
    body = core.Integer(3).dump() + element(0x31, sha256)
    body += element(0x30, core.ObjectIdentifier(content_oid).dump() +
                    element(0xA0, core.OctetString(content).dump()))
    if certificates is not None:
        body += element(0xA0, b"".join(certificates))
    if crls:
        body += element(0xA1, b"".join(crls))
    body += element(0x31, b"".join(infos))
    return element(0x30, core.ObjectIdentifier("1.2.840.113549.1.7.2").dump() +
                   element(0xA0, element(0x30, body)))


def make_token(signer, info, *, certificates=None, attributes=None, key=None, sid=None, infos=None,
               content_oid="1.2.840.113549.1.9.16.1.4", no_attributes=False):
    """A token over the encoded TSTInfo `info`."""
    if attributes is None and not no_attributes:
        attributes = signed_attributes(signer, info)
    infos = infos if infos is not None else [
        signer_info(signer, info, None if no_attributes else attributes, key=key, sid=sid)]
    certificates = [signer.der] if certificates is None else certificates
    return signed_data(info, infos, certificates, content_oid=content_oid)


def answer(signer, request, **fields):
    """A response with a token that is the answer to the request, but for the fields that are given."""
    return make_response(make_token(signer, info_for(request, **fields)))


def make_response(token, status=0, text=None, failure_bit=None):
    body = core.Integer(status).dump()
    if text is not None:
        body += element(0x30, element(0x0C, text.encode()))
    if failure_bit is not None:
        bits = bytearray(failure_bit // 8 + 1)
        bits[-1] = 0x80 >> (failure_bit % 8)
        body += element(0x03, bytes([7 - failure_bit % 8]) + bytes(bits))
    return element(0x30, element(0x30, body) + (token or b""))


def read_header(data, at):
    """(tag, start of contents, end of contents) of the element at `at`, definite lengths only."""
    tag = data[at]
    first = data[at + 1]
    if first < 0x80:
        return tag, at + 2, at + 2 + first
    count = first & 0x7F
    size = int.from_bytes(data[at + 2:at + 2 + count], "big")
    return tag, at + 2 + count, at + 2 + count + size
