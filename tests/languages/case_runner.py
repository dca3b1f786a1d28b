"""One case of the table in Python:  case_runner.py seal URL DATA ROOTS | verify STAMP DATA ROOTS [EVIDENCE]

Prints the status and the word, and of a verdict each finding.
"""

import sys

import chronoseal


def main(action: str, of: str, data: str, roots: str, *evidence: str) -> None:
    try:
        if action == "seal":
            chronoseal.Sealer(of, roots=roots, attempts=1).seal(data)
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
