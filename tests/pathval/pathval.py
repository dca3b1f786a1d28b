#!/usr/bin/python3
"""Judges the path validation suites that lie in ../shared/data beside a checkout, and prints how many cases of each are
right. Every case that differs from what its suite expects has to stand in differences.tsv with the reason; a reason
without a difference fails, too. Each case is judged with its candidates in several orders, which must give one
verdict. No case may be wrong here that `openssl verify` has right by itself, but that any anchor may be given to it
(-partial_chain); nor one that it has right when it is told the case's purpose and policies, too, but for those of
differences.tsv that are marked with an asterisk. Exit status 77 when the data isn't there.

Usage: pathval.py LIBRARY DATA_FOLDER [--list]
"""
import os
import random
import subprocess
import sys
import tempfile

from suites import ANY_POLICY, CLIENT_AUTH, SUITES
from surface import Surface

HERE = os.path.dirname(os.path.abspath(__file__))
SKIPPED = 77
ORDERS = 4


def orders_of(candidates):
    orders = [list(candidates), list(reversed(candidates))]
    shuffle = random.Random(len(candidates)).shuffle
    while len(candidates) > 2 and len(orders) < ORDERS:
        order = list(candidates)
        shuffle(order)
        orders.append(order)
    return orders


def write_pem(folder, name, label, blocks):
    import base64
    path = os.path.join(folder, name)
    with open(path, "w") as file:
        for block in blocks:
            text = base64.encodebytes(block).decode()
            file.write("-----BEGIN %s-----\n%s-----END %s-----\n" % (label, text, label))
    return path


def openssl_accepts(case, folder, told):
    """With `told`, the purpose and the policies are those of the case; without it `openssl verify` has its way."""
    inputs = case.inputs
    command = ["openssl", "verify", "-partial_chain", "-attime", str(inputs["at"])]
    if inputs["anchors"]:
        command += ["-trusted", write_pem(folder, "anchors.pem", "CERTIFICATE", inputs["anchors"])]
    else:
        command += ["-no-CAfile", "-no-CApath", "-no-CAstore"]
    if case.candidates:
        command += ["-untrusted", write_pem(folder, "candidates.pem", "CERTIFICATE", case.candidates)]
    if inputs["lists"] is not None:
        command += ["-crl_check_all", "-extended_crl"]
        if inputs["lists"]:
            command += ["-CRLfile", write_pem(folder, "lists.pem", "X509 CRL", inputs["lists"])]
    if told:
        command += ["-policy_check"]
        if inputs["usages"]:
            command += ["-purpose", "sslclient" if inputs["usages"][0] == CLIENT_AUTH else "sslserver"]
        for policy in inputs["policies"] or [ANY_POLICY]:
            command += ["-policy", policy]
        if inputs["policies"]:
            command += ["-explicit_policy"]
    command.append(write_pem(folder, "end.pem", "CERTIFICATE", [inputs["end"]]))
    return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0


def read_differences():
    differences = {}
    with open(os.path.join(HERE, "differences.tsv")) as file:
        for line in file:
            if line.strip() and not line.startswith("#"):
                suite, name, reason = line.rstrip("\n").split("\t")
                differences[(suite, name)] = reason
    return differences


def main():
    library, data = sys.argv[1], sys.argv[2]
    if not os.path.isdir(os.path.join(data, "pkits")):
        print("SKIPPED: no path validation data in", data)
        return SKIPPED
    surface = Surface(library)
    listed = read_differences()
    found, problems = set(), []
    with tempfile.TemporaryDirectory() as folder:
        os.environ["XDG_CACHE_HOME"] = folder
        for suite, cases in SUITES.items():
            right = total = 0
            for case in cases(data):
                total += 1
                results = [surface.judge(candidates=order, **case.inputs) for order in orders_of(case.candidates)]
                if len({result == 0 for result in results}) != 1:
                    problems.append("%s %s: the order decides: %s" % (suite, case.name, results))
                if (results[0] == 0) == case.expected:
                    right += 1
                    continue
                key = (suite, case.name)
                found.add(key)
                reason = listed.get(key)
                told = "0x%08X" % (results[0] & 0xFFFFFFFF)
                if "--list" in sys.argv:
                    better = openssl_accepts(case, folder, True) == case.expected
                    print("%s\t%s\t%s%s %s" % (suite, case.name, "*" if better else "", told, reason or "?"))
                elif reason is None:
                    problems.append("%s %s: expected %s, got %s" % (suite, case.name, case.expected, told))
                elif openssl_accepts(case, folder, False) == case.expected:
                    problems.append("%s %s: openssl has it right by itself" % (suite, case.name))
                elif not reason.startswith("*") and openssl_accepts(case, folder, True) == case.expected:
                    problems.append("%s %s: openssl has it right" % (suite, case.name))
            print("%s: %d of %d as expected" % (suite, right, total))
    for suite, name in sorted(set(listed) - found):
        problems.append("%s %s: listed as a difference, and isn't one" % (suite, name))
    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
