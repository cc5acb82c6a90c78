"""What became of the tests whose reports are in a folder: count_tests.py FOLDER
Prints "512 passed, 0 failed, 3 skipped", then a line for each reason to skip."""

import collections
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path


def outcome(case):
    """Of one test: what became of it, and why it was skipped."""
    if case.find("failure") is not None or case.find("error") is not None:
        return "failed", None
    skipped = case.find("skipped")
    if skipped is None:
        return "passed", None
    # The place comes first where there is one.
    return "skipped", skipped.get("message", "").strip().splitlines()[-1]


def main(folder):
    reports = sorted(Path(folder).glob("*.xml"))
    if not reports:  # of a program that was not built, or has crashed
        print("no report")
        return
    outcomes = [
        outcome(case) for report in reports for case in ElementTree.parse(report).iter("testcase")
    ]
    counts = collections.Counter(kind for kind, _ in outcomes)
    print(", ".join(f"{counts[kind]} {kind}" for kind in ("passed", "failed", "skipped")))
    reasons = collections.Counter(reason for kind, reason in outcomes if kind == "skipped")
    for reason, count in sorted(reasons.items()):
        print(f"  {count} skipped: {reason}")


main(sys.argv[1])
