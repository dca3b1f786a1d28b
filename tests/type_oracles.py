#!/usr/bin/python3
"""Compares the schema's types with other software that has the same types, and prints a table: type, oracle, cases,
differences, and the reasons of those that are meant.

A case is an encoding: random values of ours, and DER files made by OpenSSL. The oracle decodes it as its own type and
encodes it again; the bytes have to be the same. Oracles are OpenSSL's library (through its d2i_ and i2d_
functions) and Debian's python3-pyasn1-modules. What differs is told in type_oracles.tsv beside this program: type,
oracle, how often, why. Exit status 1 when a difference has no reason, or comes up more or less often than told there.

Usage: type_oracles.py RECODE_PROGRAM TESTDATA_FOLDER [--write]
  --write makes type_oracles.tsv anew; read the difference before committing it.
"""
import ctypes
import ctypes.util
import importlib
import os
import re
import subprocess
import sys
from collections import Counter

# type: [(oracle, name there)]; o: OpenSSL's d2i_ name, p: a class of pyasn1_modules.
TYPES = {
    "AlgorithmIdentifier": ["o:X509_ALGOR", "p:rfc5280.AlgorithmIdentifier"],
    "Certificate": ["o:X509", "p:rfc5280.Certificate"],
    "TBSCertificate": ["o:X509_CINF", "p:rfc5280.TBSCertificate"],
    "Validity": ["o:X509_VAL", "p:rfc5280.Validity"],
    "Time": ["o:ASN1_TIME", "p:rfc5280.Time"],
    "CertificateSerialNumber": ["o:ASN1_INTEGER", "p:rfc5280.CertificateSerialNumber"],
    "Version": ["o:ASN1_INTEGER"],
    "UniqueIdentifier": ["o:ASN1_BIT_STRING", "p:rfc5280.UniqueIdentifier"],
    "SubjectPublicKeyInfo": ["p:rfc5280.SubjectPublicKeyInfo"],
    "Extension": ["o:X509_EXTENSION", "p:rfc5280.Extension"],
    "Extensions": ["o:X509_EXTENSIONS", "p:rfc5280.Extensions"],
    "CertificateListLegacy": ["o:X509_CRL", "p:rfc5280.CertificateList"],
    "TBSCertList": ["o:X509_CRL_INFO", "p:rfc5280.TBSCertList"],
    "TBSCertList_revokedCertificates_element": ["o:X509_REVOKED"],
    "Name": ["o:X509_NAME", "p:rfc5280.Name"],
    "RDNSequence": ["o:X509_NAME", "p:rfc5280.RDNSequence"],
    "DistinguishedName": ["o:X509_NAME", "p:rfc5280.DistinguishedName"],
    "RelativeDistinguishedName": ["p:rfc5280.RelativeDistinguishedName"],
    "AttributeTypeAndValue": ["p:rfc5280.AttributeTypeAndValue"],
    "Attribute": ["o:X509_ATTRIBUTE", "p:rfc5280.Attribute"],
    "DirectoryString": ["o:DIRECTORYSTRING", "p:rfc5280.DirectoryString"],
    "GeneralName": ["o:GENERAL_NAME", "p:rfc5280.GeneralName"],
    "GeneralNames": ["o:GENERAL_NAMES", "p:rfc5280.GeneralNames"],
    "GeneralName_otherName": ["o:OTHERNAME"],
    "EDIPartyName": ["o:EDIPARTYNAME", "p:rfc5280.EDIPartyName"],
    "AuthorityKeyIdentifier": ["o:AUTHORITY_KEYID", "p:rfc5280.AuthorityKeyIdentifier"],
    "SubjectKeyIdentifier": ["o:ASN1_OCTET_STRING", "p:rfc5280.SubjectKeyIdentifier"],
    "KeyUsage": ["o:ASN1_BIT_STRING", "p:rfc5280.KeyUsage"],
    "ReasonFlags": ["o:ASN1_BIT_STRING", "p:rfc5280.ReasonFlags"],
    "ExtKeyUsageSyntax": ["o:EXTENDED_KEY_USAGE", "p:rfc5280.ExtKeyUsageSyntax"],
    "_extKeyUsage_ExtnType": ["o:EXTENDED_KEY_USAGE", "p:rfc5280.ExtKeyUsageSyntax"],
    "PrivateKeyUsagePeriod": ["o:PKEY_USAGE_PERIOD", "p:rfc5280.PrivateKeyUsagePeriod"],
    "CertificatePoliciesSyntax": ["o:CERTIFICATEPOLICIES", "p:rfc5280.CertificatePolicies"],
    "PolicyInformation": ["o:POLICYINFO", "p:rfc5280.PolicyInformation"],
    "PolicyQualifierInfo": ["o:POLICYQUALINFO", "p:rfc5280.PolicyQualifierInfo"],
    "UserNotice": ["o:USERNOTICE", "p:rfc5280.UserNotice"],
    "NoticeReference": ["o:NOTICEREF", "p:rfc5280.NoticeReference"],
    "DisplayText": ["o:DISPLAYTEXT", "p:rfc5280.DisplayText"],
    "PolicyMappingsSyntax": ["p:rfc5280.PolicyMappings"],
    "PolicyConstraintsSyntax": ["p:rfc5280.PolicyConstraints"],
    "AttributesSyntax": ["p:rfc5280.SubjectDirectoryAttributes"],
    "BasicConstraintsSyntax": ["o:BASIC_CONSTRAINTS", "p:rfc5280.BasicConstraints"],
    "NameConstraintsSyntax": ["p:rfc5280.NameConstraints"],
    "GeneralSubtree": ["p:rfc5280.GeneralSubtree"],
    "GeneralSubtrees": ["p:rfc5280.GeneralSubtrees"],
    "CRLDistPointsSyntax": ["o:CRL_DIST_POINTS", "p:rfc5280.CRLDistributionPoints"],
    "DistributionPoint": ["o:DIST_POINT", "p:rfc5280.DistributionPoint"],
    "DistributionPointName": ["o:DIST_POINT_NAME", "p:rfc5280.DistributionPointName"],
    "IssuingDistPointSyntax": ["o:ISSUING_DIST_POINT", "p:rfc5280.IssuingDistributionPoint"],
    "CRLNumber": ["o:ASN1_INTEGER", "p:rfc5280.CRLNumber"],
    "CRLReason": ["o:ASN1_ENUMERATED"],
    "InvalidityDate": ["o:ASN1_GENERALIZEDTIME", "p:rfc5280.InvalidityDate"],
    "CertificateIssuer": ["o:GENERAL_NAMES", "p:rfc5280.CertificateIssuer"],
    "AuthorityInfoAccessSyntax": ["o:AUTHORITY_INFO_ACCESS", "p:rfc5280.AuthorityInfoAccessSyntax"],
    "SubjectInfoAccessSyntax": ["o:AUTHORITY_INFO_ACCESS", "p:rfc5280.SubjectInfoAccessSyntax"],
    "AccessDescription": ["o:ACCESS_DESCRIPTION", "p:rfc5280.AccessDescription"],
    "ORAddress": ["p:rfc5280.ORAddress"],
    "BuiltInStandardAttributes": ["p:rfc5280.BuiltInStandardAttributes"],
    "BuiltInDomainDefinedAttributes": ["p:rfc5280.BuiltInDomainDefinedAttributes"],
    "CountryName": ["p:rfc5280.CountryName"],
    "AdministrationDomainName": ["p:rfc5280.AdministrationDomainName"],
    "PersonalName": ["p:rfc5280.PersonalName"],
    "OrganizationalUnitNames": ["p:rfc5280.OrganizationalUnitNames"],
    "TeletexPersonalName": ["p:rfc5280.TeletexPersonalName"],
    "UnformattedPostalAddress": ["p:rfc5280.UnformattedPostalAddress"],
    "PresentationAddress": ["p:rfc5280.PresentationAddress"],
    "ExtendedNetworkAddress": ["p:rfc5280.ExtendedNetworkAddress"],
    "PDSParameter": ["p:rfc5280.PDSParameter"],
    "TerminalType": ["p:rfc5280.TerminalType"],
    "AttributeCertificateV2": ["p:rfc3281.AttributeCertificate"],
    "AttributeCertificateInfoV2": ["p:rfc3281.AttributeCertificateInfo"],
    "Holder": ["p:rfc3281.Holder"],
    "ObjectDigestInfo": ["p:rfc3281.ObjectDigestInfo"],
    "AttCertIssuer": ["p:rfc3281.AttCertIssuer"],
    "AttCertValidityPeriod": ["p:rfc3281.AttCertValidityPeriod"],
    "Targets": ["p:rfc3281.Targets"],
    "IetfAttrSyntax": ["p:rfc3281.IetfAttrSyntax"],
    "SvceAuthInfo": ["p:rfc3281.SvceAuthInfo"],
    "RoleSyntax": ["p:rfc3281.RoleSyntax"],
    "Clearance": ["p:rfc3281.Clearance"],
    "ProxyInfo": ["p:rfc3281.ProxyInfo"],
    "AttributeCertificate": ["p:rfc5652.AttributeCertificateV1"],
    "AttributeCertificateInfo": ["p:rfc5652.AttributeCertificateInfoV1"],
    "ContentInfo": ["o:CMS_ContentInfo", "p:rfc5652.ContentInfo"],
    "ContentInfoLegacy": ["o:CMS_ContentInfo", "p:rfc5652.ContentInfo"],
    "SignedData": ["p:rfc5652.SignedData"],
    "SignedDataLegacy": ["p:rfc5652.SignedData"],
    "SignerInfo": ["p:rfc5652.SignerInfo"],
    "SignerInfoLegacy": ["p:rfc5652.SignerInfo"],
    "SignerInfos": ["p:rfc5652.SignerInfos"],
    "SignerIdentifier": ["p:rfc5652.SignerIdentifier"],
    "EncapsulatedContentInfo": ["p:rfc5652.EncapsulatedContentInfo"],
    "DigestAlgorithmIdentifiers": ["p:rfc5652.DigestAlgorithmIdentifiers"],
    "SignedAttributes": ["p:rfc5652.SignedAttributes"],
    "UnsignedAttributes": ["p:rfc5652.UnsignedAttributes"],
    "AttributesRaw": ["p:rfc5652.SignedAttributes"],
    "AttributeRaw": ["p:rfc5652.Attribute"],
    "CertificateSet": ["p:rfc5652.CertificateSet"],
    "CertificateChoices": ["p:rfc5652.CertificateChoices"],
    "OtherRevocationInfoFormat": ["p:rfc5652.OtherRevocationInfoFormat"],
    "EnvelopedData": ["p:rfc5652.EnvelopedData"],
    "OriginatorInfo": ["p:rfc5652.OriginatorInfo"],
    "EncryptedContentInfo": ["p:rfc5652.EncryptedContentInfo"],
    "KeyTransRecipientInfo": ["p:rfc5652.KeyTransRecipientInfo"],
    "KEKRecipientInfo": ["p:rfc5652.KEKRecipientInfo"],
    "PasswordRecipientInfo": ["p:rfc5652.PasswordRecipientInfo"],
    "KeyAgreeRecipientInfo": ["p:rfc5652.KeyAgreeRecipientInfo"],
    "OtherRecipientInfo": ["p:rfc5652.OtherRecipientInfo"],
    "RecipientIdentifier": ["p:rfc5652.RecipientIdentifier"],
    "OriginatorIdentifierOrKey": ["p:rfc5652.OriginatorIdentifierOrKey"],
    "RecipientKeyIdentifier": ["p:rfc5652.RecipientKeyIdentifier"],
    "DigestedData": ["p:rfc5652.DigestedData"],
    "EncryptedData": ["p:rfc5652.EncryptedData"],
    "AuthenticatedData": ["p:rfc5652.AuthenticatedData"],
    "ExtendedCertificate": ["p:rfc5652.ExtendedCertificate"],
    "SigningTime": ["o:ASN1_TIME", "p:rfc5652.SigningTime"],
    "MessageDigest": ["o:ASN1_OCTET_STRING", "p:rfc5652.MessageDigest"],
    "SigningCertificate": ["o:ESS_SIGNING_CERT", "p:rfc5035.SigningCertificate"],
    "SigningCertificateV2": ["o:ESS_SIGNING_CERT_V2", "p:rfc5035.SigningCertificateV2"],
    "ESSCertID": ["o:ESS_CERT_ID", "p:rfc5035.ESSCertID"],
    "ESSCertIDv2": ["o:ESS_CERT_ID_V2", "p:rfc5035.ESSCertIDv2"],
    "IssuerSerial": ["o:ESS_ISSUER_SERIAL", "p:rfc3281.IssuerSerial"],
    "ReceiptRequest": ["o:CMS_ReceiptRequest", "p:rfc5035.ReceiptRequest"],
    "Receipt": ["p:rfc5035.Receipt"],
    "ContentHints": ["p:rfc5035.ContentHints"],
    "ContentReference": ["p:rfc5035.ContentReference"],
    "ESSSecurityLabel": ["p:rfc5035.ESSSecurityLabel"],
    "EquivalentLabels": ["p:rfc5035.EquivalentLabels"],
    "MLExpansionHistory": ["p:rfc5035.MLExpansionHistory"],
    "MLData": ["p:rfc5035.MLData"],
    "TimeStampReq": ["o:TS_REQ", "p:rfc3161.TimeStampReq"],
    "TimeStampResp": ["o:TS_RESP", "p:rfc3161.TimeStampResp"],
    "TimeStampRespRaw": ["o:TS_RESP", "p:rfc3161.TimeStampResp"],
    "TSTInfo": ["o:TS_TST_INFO", "p:rfc3161.TSTInfo"],
    "TSTInfoRaw": ["o:TS_TST_INFO", "p:rfc3161.TSTInfo"],
    "MessageImprint": ["o:TS_MSG_IMPRINT", "p:rfc3161.MessageImprint"],
    "Accuracy": ["o:TS_ACCURACY", "p:rfc3161.Accuracy"],
    "PKIStatusInfo": ["o:TS_STATUS_INFO", "p:rfc4210.PKIStatusInfo"],
    "PKIStatus": ["o:ASN1_INTEGER"],
    "PKIFailureInfo": ["o:ASN1_BIT_STRING"],
    "PKIFreeText": ["p:rfc4210.PKIFreeText"],
    "OCSPRequest": ["o:OCSP_REQUEST", "p:rfc6960.OCSPRequest"],
    "TBSRequest": ["o:OCSP_REQINFO", "p:rfc6960.TBSRequest"],
    "Request": ["o:OCSP_ONEREQ", "p:rfc6960.Request"],
    "OCSPSignature": ["o:OCSP_SIGNATURE", "p:rfc6960.Signature"],
    "OCSPResponse": ["o:OCSP_RESPONSE", "p:rfc6960.OCSPResponse"],
    "ResponseBytes": ["o:OCSP_RESPBYTES", "p:rfc6960.ResponseBytes"],
    "BasicOCSPResponse": ["o:OCSP_BASICRESP", "p:rfc6960.BasicOCSPResponse"],
    "ResponseData": ["o:OCSP_RESPDATA", "p:rfc6960.ResponseData"],
    "ResponderID": ["o:OCSP_RESPID", "p:rfc6960.ResponderID"],
    "SingleResponse": ["o:OCSP_SINGLERESP", "p:rfc6960.SingleResponse"],
    "CertID": ["o:OCSP_CERTID", "p:rfc6960.CertID"],
    "CertStatus": ["o:OCSP_CERTSTATUS", "p:rfc6960.CertStatus"],
    "RevokedInfo": ["o:OCSP_REVOKEDINFO", "p:rfc6960.RevokedInfo"],
    "CrlID": ["o:OCSP_CRLID", "p:rfc6960.CrlID"],
    "ServiceLocator": ["o:OCSP_SERVICELOC", "p:rfc6960.ServiceLocator"],
    "AcceptableResponses": ["p:rfc6960.AcceptableResponses"],
    "PKIMessage": ["o:OSSL_CMP_MSG", "p:rfc4210.PKIMessage"],
    "PKIHeader": ["o:OSSL_CMP_PKIHEADER", "p:rfc4210.PKIHeader"],
    "PKIBody": ["p:rfc4210.PKIBody"],
    "ProtectedPart": ["p:rfc4210.ProtectedPart"],
    "InfoTypeAndValue": ["p:rfc4210.InfoTypeAndValue"],
    "CertRepMessage": ["p:rfc4210.CertRepMessage"],
    "CertResponse": ["p:rfc4210.CertResponse"],
    "CertifiedKeyPair": ["p:rfc4210.CertifiedKeyPair"],
    "RevReqContent": ["p:rfc4210.RevReqContent"],
    "RevDetails": ["p:rfc4210.RevDetails"],
    "RevRepContent": ["p:rfc4210.RevRepContent"],
    "KeyRecRepContent": ["p:rfc4210.KeyRecRepContent"],
    "ErrorMsgContent": ["p:rfc4210.ErrorMsgContent"],
    "Challenge": ["p:rfc4210.Challenge"],
    "POPODecKeyChallContent": ["p:rfc4210.POPODecKeyChallContent"],
    "POPODecKeyRespContent": ["p:rfc4210.POPODecKeyRespContent"],
    "CAKeyUpdAnnContent": ["p:rfc4210.CAKeyUpdAnnContent"],
    "RevAnnContent": ["p:rfc4210.RevAnnContent"],
    "CertConfirmContent": ["p:rfc4210.CertConfirmContent"],
    "PollReqContent": ["p:rfc4210.PollReqContent"],
    "PollRepContent": ["p:rfc4210.PollRepContent"],
    "OOBCertHash": ["p:rfc4210.OOBCertHash"],
    "DHBMParameter": ["p:rfc4210.DHBMParameter"],
    "PBMParameter": ["o:OSSL_CRMF_PBMPARAMETER", "p:rfc4210.PBMParameter"],
    "CertReqMessages": ["o:OSSL_CRMF_MSGS", "p:rfc4211.CertReqMessages"],
    "CertReqMsg": ["o:OSSL_CRMF_MSG", "p:rfc4211.CertReqMsg"],
    "CertRequest": ["p:rfc4211.CertRequest"],
    "CertTemplate": ["o:OSSL_CRMF_CERTTEMPLATE", "p:rfc4211.CertTemplate"],
    "OptionalValidity": ["p:rfc4211.OptionalValidity"],
    "Controls": ["p:rfc4211.Controls"],
    "ProofOfPossession": ["p:rfc4211.ProofOfPossession"],
    "POPOSigningKey": ["p:rfc4211.POPOSigningKey"],
    "POPOPrivKey": ["p:rfc4211.POPOPrivKey"],
    "PKMACValue": ["p:rfc4211.PKMACValue"],
    "EncryptedValue": ["o:OSSL_CRMF_ENCRYPTEDVALUE", "p:rfc4211.EncryptedValue"],
    "PKIPublicationInfo": ["o:OSSL_CRMF_PKIPUBLICATIONINFO", "p:rfc4211.PKIPublicationInfo"],
    "SinglePubInfo": ["o:OSSL_CRMF_SINGLEPUBINFO", "p:rfc4211.SinglePubInfo"],
    "PKIArchiveOptions": ["p:rfc4211.PKIArchiveOptions"],
    "EncryptedPKey": ["p:rfc4211.EncryptedKey"],
    "CertId": ["o:OSSL_CRMF_CERTID", "p:rfc4211.CertId"],
    "EncKeyWithID": ["p:rfc4211.EncKeyWithID"],
    "PrivateKeyInfo": ["o:PKCS8_PRIV_KEY_INFO", "p:rfc5208.PrivateKeyInfo"],
    "CertificationRequest": ["o:X509_REQ", "p:rfc2986.CertificationRequest"],
    "CertificationRequest_certificationRequestInfo": ["o:X509_REQ_INFO", "p:rfc2986.CertificationRequestInfo"],
    "RSAPublicKey": ["p:rfc8017.RSAPublicKey"],
    "RSAPrivateKey": ["p:rfc8017.RSAPrivateKey"],
    "RSAES_OAEP_params": ["o:RSA_OAEP_PARAMS", "p:rfc8017.RSAES_OAEP_params"],
    "RSASSA_PSS_params": ["o:RSA_PSS_PARAMS", "p:rfc8017.RSASSA_PSS_params"],
    "DigestInfo": ["o:X509_SIG", "p:rfc8017.DigestInfo"],
    "PBKDF2_params": ["o:PBKDF2PARAM", "p:rfc8018.PBKDF2_params"],
    "PBES2_params": ["o:PBE2PARAM", "p:rfc8018.PBES2_params"],
    "PBEParameter": ["o:PBEPARAM", "p:rfc8018.PBEParameter"],
    "RC2_CBC_parameter": ["p:rfc8018.RC2_CBC_Parameter"],
    "Dss_Parms": ["p:rfc3279.Dss_Parms"],
    "Dss_Sig_Value": ["o:DSA_SIG", "p:rfc3279.Dss_Sig_Value"],
    "ECDSA_Sig_Value": ["o:ECDSA_SIG", "p:rfc3279.ECDSA_Sig_Value"],
    "DomainParameters": ["p:rfc3279.DomainParameters"],
    "ValidationParms": ["p:rfc3279.ValidationParms"],
    "Pentanomial": ["p:rfc3279.Pentanomial"],
    "SMIMECapability": ["p:rfc5751.SMIMECapability"],
    "SMIMECapabilities": ["p:rfc5751.SMIMECapabilities"],
    "SMIMEEncryptionKeyPreference": ["p:rfc5751.SMIMEEncryptionKeyPreference"],
}

CASES = 40  # random values of each type, always the same
MEANT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "type_oracles.tsv")

# How differences are called. First by what the oracle says when it refuses a case.
REFUSALS = [
    (r"Constraint", "the oracle has narrower bounds"),
    (r"(CertificateList|TBSCertificate|TimeStampToken|AttributeCertificateInfo|AttributeCertificateInfoV1|ExtendedCertificateInfo) has uninitialized", "a raw part of a random value is empty"),
    (r"PolicyQualifierInfo has uninitialized", "qualifier is optional, as in X.509"),
    (r"ServiceLocator has uninitialized", "locator is optional, as in RFC 2560"),
    (r"tagSet <TagSet object, tags 0:0:4>, encoding iso-8859-1", "the oracle's module imports another type of that name"),
    (r"Short octet stream on tag decoding|IssuerSerial has uninitialized", "an empty list of names passes here"),
    (r"SubsequentMessage schema object", "the oracle's module imports the older RFC 2511"),
    (r"not in asn1Spec", "content of PKCS #7 that is no OCTET STRING"),
]
# Then by type, where the oracle encodes in another way than its own standard, or we do on purpose.
TYPES_MEANT = {
    "Clearance": "the oracle puts an implicit tag on an open value",
    "ESSSecurityLabel": "members of a SET are written in the order of the definition",
    "EquivalentLabels": "members of a SET are written in the order of the definition",
}
# The same for OpenSSL, by its innermost error text.
REFUSED_BY_OPENSSL = {
    "mstring wrong tag": "OpenSSL takes only strings in names",
    "too large": "OpenSSL takes only numbers of 32 or 64 bits there",
    "field missing": "a raw part of a random value is empty",
    "no matching choice type": "a raw part of a random value is empty",
    "sequence length mismatch": "IssuerSerial has the issuerUID of attribute certificates",
    "token present": "OpenSSL compares status and token",
    "token not present": "OpenSSL compares status and token",
    "wrong tag": "OpenSSL looks into the token",
    "bad pkcs7 type": "OpenSSL looks into the token",
    "type not primitive": "OpenSSL's agreeMAC is a NULL",
    "no error text": "OpenSSL takes no negative numbers there",
}
DEFAULT = "a default that is present stays present"
LEAST_NUMBER = "the oracle writes the least number of a length a byte too long"


class Recoder:
    """The program that decodes and encodes with our types."""

    def __init__(self, program):
        self.process = subprocess.Popen([program], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def ask(self, *words):
        self.process.stdin.write(" ".join(words) + "\n")
        self.process.stdin.flush()
        return self.process.stdout.readline().split()

    def names(self):
        return set(self.ask("list"))

    def random(self, name, seed):
        """The encoding of a random value, or None when a value can't be encoded."""
        answer = self.ask("random", name, str(seed))
        return bytes.fromhex(answer[1]) if len(answer) == 2 and answer[0] == "0" else None

    def decode(self, name, data):
        answer = self.ask("decode", name, data.hex())
        return bytes.fromhex(answer[1]) if len(answer) == 2 else int(answer[0])


class OpenSSL:
    """d2i_X and i2d_X of libcrypto."""

    def __init__(self):
        self.library = ctypes.CDLL(ctypes.util.find_library("crypto"))
        self.library.ERR_get_error.restype = ctypes.c_ulong
        self.library.CRYPTO_free.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int]

    def errors(self):
        """The innermost error text."""
        texts = []
        while code := self.library.ERR_get_error():
            buffer = ctypes.create_string_buffer(256)
            self.library.ERR_error_string_n(ctypes.c_ulong(code), buffer, 256)
            texts.append(buffer.value.decode().split(":")[-1])
        return texts[0] if texts else "no error text"

    def has(self, name):
        return hasattr(self.library, "d2i_" + name) and hasattr(self.library, "i2d_" + name)

    def recode(self, name, data):
        read = getattr(self.library, "d2i_" + name)
        write = getattr(self.library, "i2d_" + name)
        read.restype = ctypes.c_void_p
        write.argtypes = [ctypes.c_void_p, ctypes.c_void_p]
        buffer = ctypes.create_string_buffer(data, len(data))
        at = ctypes.c_void_p(ctypes.addressof(buffer))
        value = read(None, ctypes.byref(at), ctypes.c_long(len(data)))
        if not value:
            raise ValueError(self.errors())
        out = ctypes.c_void_p()
        size = write(value, ctypes.byref(out))
        encoded = ctypes.string_at(out, size) if size > 0 else b""
        free = getattr(self.library, name + "_free", None)
        if free is not None:
            free.argtypes = [ctypes.c_void_p]
            free.restype = None
            free(value)
        self.library.CRYPTO_free(out, b"", 0)
        return encoded


class PyAsn1:
    """A class of pyasn1_modules, with pyasn1's DER codec."""

    def __init__(self):
        from pyasn1.codec.ber import decoder
        from pyasn1.codec.der import encoder
        self.decode, self.encode = decoder.decode, encoder.encode

    def schema(self, name):
        module, _, attribute = name.partition(".")
        found = getattr(importlib.import_module("pyasn1_modules." + module), attribute, None)
        return None if found is None else found()

    def recode(self, name, data):
        value, rest = self.decode(data, asn1Spec=self.schema(name))
        if rest:
            raise ValueError("trailing bytes")
        return self.encode(value)


def reason(oracle, kind, error, data, result):
    """Why a difference is meant; None when it isn't."""
    if error is not None:
        if oracle == "openssl":
            return REFUSED_BY_OPENSSL.get(str(error))
        text = f"{type(error).__name__} {error}"
        return next((why for pattern, why in REFUSALS if re.search(pattern, text)), None)
    if oracle == "pyasn1" and kind in TYPES_MEANT:
        return TYPES_MEANT[kind]
    too_long = [bytes([2, size + 1, 0xFF, 0x80]) + bytes(size - 1) for size in range(1, 16)]
    if any(number in result and number not in data for number in too_long):
        return LEAST_NUMBER
    return DEFAULT if len(result) < len(data) else None


def compare(recode, oracle, kind, name, cases):
    """Counts of differences by reason (None: not explained), with one example of those."""
    differences, example = Counter(), None
    for data in cases:
        error = result = None
        try:
            result = recode(name, data)
        except Exception as caught:  # whatever a foreign decoder raises is its verdict
            error = caught
        if result == data:
            continue
        why = reason(oracle, kind, error, data, result)
        differences[why] += 1
        if why is None and example is None:
            example = f"{data.hex()[:240]} -> {str(error)[:240] if error is not None else result.hex()[:240]}"
    return differences, example


def oracle_files(folder, name):
    """The DER files of testdata that are of this type."""
    with open(os.path.join(folder, "oracles.tsv"), encoding="ascii") as table:
        rows = [line.rstrip("\n").split("\t") for line in table]
    for file, kind in rows:
        if kind == name:
            with open(os.path.join(folder, file), "rb") as content:
                yield content.read()


def read_meant():
    """The differences that are meant: {(type, oracle): {reason: count}}."""
    meant = {}
    with open(MEANT, encoding="utf-8") as table:
        for line in table:
            if not line.startswith("#"):
                name, oracle, count, why = line.rstrip("\n").split("\t")
                meant.setdefault((name, oracle), Counter())[why] = int(count)
    return meant


def write_meant(differences):
    with open(MEANT, "w", encoding="utf-8") as table:
        table.write("# type, oracle, how many of its cases differ, why; made by type_oracles.py --write\n")
        for (name, oracle), reasons in differences.items():
            for why, count in sorted(reasons.items()):
                table.write(f"{name}\t{oracle}\t{count}\t{why}\n")


def main():
    program, folder = sys.argv[1], sys.argv[2]
    rewrite = "--write" in sys.argv[3:]
    ours, openssl, unexplained, missing = Recoder(program), OpenSSL(), 0, []
    meant, found = {} if rewrite else read_meant(), {}
    try:
        pyasn1 = PyAsn1()
    except ImportError:
        pyasn1 = None
        print("python3-pyasn1 is not installed: only OpenSSL is compared")
    known = ours.names()
    print(f"{'type':44} {'oracle':40} {'cases':>5} {'differ':>6}  meant")
    for name, oracles in TYPES.items():
        if name not in known:
            print(f"{name:44} NOT IN THE SCHEMA")
            unexplained += 1
            continue
        files = list(oracle_files(folder, name))
        for data in files:
            if ours.decode(name, data) != data:
                print(f"{name}: a file of OpenSSL's does not come back unchanged")
                unexplained += 1
        randoms = [data for data in (ours.random(name, seed) for seed in range(CASES)) if data is not None]
        for entry in oracles:
            kind, _, there = entry.partition(":")
            if kind == "o" and openssl.has(there):
                recode, oracle = openssl.recode, "openssl"
            elif kind == "p" and pyasn1 is not None and pyasn1.schema(there) is not None:
                recode, oracle = pyasn1.recode, "pyasn1"
            else:
                missing.append(f"{name} ({there})")
                continue
            differences, example = compare(recode, oracle, name, there, files + randoms)
            bad = differences.pop(None, 0)
            key = (name, f"{oracle} {there}")
            found[key] = differences
            told = differences if rewrite else meant.pop(key, Counter())
            for why in sorted(set(differences) | set(told)):
                if differences[why] != told[why]:
                    bad += 1
                    print(f"{name}: {why}: {differences[why]}, not {told[why]} as told")
            unexplained += bad
            cases = len(files) + len(randoms)
            reasons = "; ".join(f"{why}: {number}" for why, number in differences.items())
            print(f"{name:44} {key[1]:40} {cases:5} {bad:6}  {reasons}")
            if example is not None:
                print(f"    {example}")
    if missing:
        print("not in the oracle here: " + ", ".join(missing))
    if rewrite:
        write_meant(found)
    elif pyasn1 is not None:
        for name, oracle in meant:
            unexplained += 1
            print(f"{name}: {oracle} is told, but wasn't compared")
    print(f"{unexplained} unexplained differences")
    return 1 if unexplained else 0


if __name__ == "__main__":
    sys.exit(main())
