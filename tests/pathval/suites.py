"""The cases of the suites that lie beside a checkout: the NIST's path validation suite, limbo, and BoringSSL's chains.
Each case has its inputs and what is expected."""
import base64
import calendar
import datetime
import json
import os
import re

SERVER_AUTH, CLIENT_AUTH = "1.3.6.1.5.5.7.3.1", "1.3.6.1.5.5.7.3.2"
ANY_POLICY = "2.5.29.32.0"
NIST_POLICY = "2.16.840.1.101.3.2.1.48."
NIST_TIME = calendar.timegm((2024, 1, 1, 0, 0, 0))


class Case:
    def __init__(self, name, expected, end, candidates, anchors, at, lists=None, usages=(), policies=()):
        self.name, self.expected = name, expected
        self.inputs = dict(end=end, anchors=anchors, at=at, lists=lists, usages=usages, policies=policies)
        self.candidates = candidates


def pem_blocks(text, label="CERTIFICATE"):
    pattern = "-----BEGIN %s-----(.*?)-----END %s-----" % (label, label)
    return [base64.b64decode(body) for body in re.findall(pattern, text, re.DOTALL)]


def read(*parts, mode="r"):
    with open(os.path.join(*parts), mode) as file:
        return file.read()


def pkits_policies(test):
    names = [name for name in test.get("SetInitialPolicySet", "").strip('"').split(",") if name]
    if not names and test.get("SetInitialExplicitPolicy") == "true":
        return [ANY_POLICY]
    return [NIST_POLICY + name.rsplit("-", 1)[1] for name in names]


def pkits(folder):
    for test in json.loads(read(folder, "pkits", "tests.json")):
        certificates = [read(folder, "pkits", "certs", name + ".crt", mode="rb") for name in test["certs"]]
        lists = [read(folder, "pkits", "crls", name + ".crl", mode="rb") for name in test["crls"]]
        yield Case("%s %s" % (test["number"], test["title"]), test["should_validate"], certificates[-1],
                   certificates[1:-1], certificates[:1], NIST_TIME, lists, (), pkits_policies(test))


def limbo(folder):
    for name in ("limbo-2023-12-02", "limbo-generated"):
        for test in json.loads(read(folder, "limbo", name + ".json"))["testcases"]:
            moment = test["validation_time"] or "2024-06-01T00:00:00+00:00"
            at = int(datetime.datetime.fromisoformat(moment.replace("Z", "+00:00")).timestamp())
            lists = [block for text in test.get("crls") or () for block in pem_blocks(text, "X509 CRL")]
            yield Case("%s#%s" % (name, test["id"]), test["expected_result"] == "SUCCESS",
                       pem_blocks(test["peer_certificate"])[0],
                       [pem_blocks(text)[0] for text in test["untrusted_intermediates"]],
                       [pem_blocks(text)[0] for text in test["trusted_certs"]], at, lists or None,
                       (SERVER_AUTH if test["validation_kind"] == "SERVER" else CLIENT_AUTH,))


def boringssl_time(text):
    if text == "DEFAULT":
        return calendar.timegm((2021, 10, 5, 12, 0, 0))
    return calendar.timegm(datetime.datetime.strptime(text, "%y%m%d%H%M%SZ").timetuple())


def boringssl_usages(purpose):
    if purpose.startswith("SERVER_AUTH"):
        return (SERVER_AUTH,)
    return (CLIENT_AUTH,) if purpose.startswith("CLIENT_AUTH") else ()


def boringssl(folder):
    manifest = [line.split("\t") for line in read(folder, "MANIFEST.tsv").splitlines()]
    for row in manifest:
        name, expected = row[0], row[6]
        if not re.match(r"bssl/.*\.test$", name):
            continue
        fields = dict(re.findall(r"^(\w+): *(.*)$", read(folder, name), re.MULTILINE))
        chain = pem_blocks(read(folder, os.path.dirname(name), fields["chain"]))
        trusted = fields["last_cert_trust"]
        anchors = chain[-1:] if trusted.startswith("TRUSTED") else []
        policies = re.findall(r"[\d.]+", fields.get("user_initial_policy_set", ""))
        yield Case(name[len("bssl/"):], expected.startswith("valid"), chain[0], chain[1:], anchors,
                   boringssl_time(fields["utc_time"]), None, boringssl_usages(fields["key_purpose"]), policies)


SUITES = {"pkits": pkits, "limbo": limbo, "boringssl": boringssl}
