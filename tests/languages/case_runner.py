"""One case of the table in Python:  case_runner.py seal|authenticode URL DATA ROOTS |
verify STAMP DATA ROOTS [EVIDENCE] | attach STAMP SIGNATURE ROOTS | list LIST DATA ROOTS

Prints the status and the word, and of a verdict each finding.
"""

import pathlib
import sys

import chronoseal


def attach(stamp: str, path: str) -> None:
    signature = chronoseal.CmsSignature(pathlib.Path(path).read_bytes())
    signature.check(0)
    signature.with_stamp(0, chronoseal.Stamp(stamp))


def main(action: str, of: str, data: str, roots: str, *evidence: str) -> None:
    others = {
        "seal": lambda: chronoseal.Sealer(of, roots=roots, attempts=1).seal(data),
        "authenticode": lambda: chronoseal.authenticode(data.encode(), of, roots=roots),
        "attach": lambda: attach(of, data),
        "list": lambda: chronoseal.read_manifest(of),
    }
    try:
        if action in others:
            others[action]()
            print("ok good")
            return
        verdict = chronoseal.Verifier(roots=roots, evidence=evidence).verify(of, data=data)
    except chronoseal.Error as error:
        print(error.category.name.lower(), error.word)
        return
    print("ok good" if verdict.error is None else f"{verdict.error.category.name.lower()} {verdict.error.word}")
    for finding in verdict.findings:
        print(finding.name, finding.outcome.name.lower(), finding.word)


main(*sys.argv[1:])
