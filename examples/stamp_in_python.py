"""Stamps the files of a folder by two authorities, of which the second is asked where the first one fails, and stores
and judges what came:  stamp_in_python.py FOLDER URL URL ROOTS.pem
"""

import pathlib
import sys

import chronoseal


def main(folder: str, first: str, second: str, roots: str) -> int:
    verifier = chronoseal.Verifier(roots=roots)

    def done(result: chronoseal.BatchResult) -> None:
        if result.error is not None:
            print(f"{result.item!r}: {result.error}", file=sys.stderr)
            return
        stamp = result.stamps[0]
        stamp.save(f"{result.item}.tsr")
        verdict = verifier.verify(stamp, data=result.item)
        print(f"{result.item}: {stamp.time.isoformat()} by {stamp.info.address}, {len(verdict.findings)} checks")

    files = [str(path) for path in sorted(pathlib.Path(folder).iterdir())
             if path.is_file() and path.suffix != ".tsr" and not pathlib.Path(f"{path}.tsr").exists()]
    summary = chronoseal.Sealer([first, second], roots=roots).seal_all(files, done)
    print(f"{summary.stamped} stamped, {summary.failed} failed")
    return 0 if summary.failed == 0 else 1


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit("usage: stamp_in_python.py FOLDER URL URL ROOTS.pem")
    try:
        sys.exit(main(*sys.argv[1:]))
    except chronoseal.Error as error:
        sys.exit(str(error))
