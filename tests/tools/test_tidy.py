"""What is made of clang-tidy's findings and of the NOLINTs in the sources."""

from tidy import Finding, blanked, judge, read_findings, read_nolints

OUTPUT = """\
/house/a.cpp:3:7: error: it is wrong [bugprone-this,bugprone-that,-warnings-as-errors]
  wrong();
  ^
/house/a.hpp:12:1: note: because of this
/house/b.hpp:5:1: warning: so is [this] one [modernize-it]
"""

SOURCE = """\
one();  // NOLINT(bugprone-this): it is meant so
// NOLINTNEXTLINE(bugprone-this, modernize-*)
two();
// NOLINTBEGIN(bugprone-that)
three();
four();
// NOLINTEND(bugprone-that)
five();  // NOLINT
// NOLINTBEGIN(modernize-it)
"""


def finding(line, *checks, file="a.cpp"):
    return Finding(file, line, list(checks), "words")


def covered(one):
    """The lines of the NOLINTs that cover a finding."""
    nolints = read_nolints("a.cpp", SOURCE)
    return [int(nolint.where.partition(":")[2]) for nolint in nolints if nolint.covers(one)]


def test_findings_keep_their_explanations():
    first, second = read_findings(OUTPUT)
    assert first[:3] == ("/house/a.cpp", 3, ["bugprone-this", "bugprone-that"])
    assert first.text == OUTPUT.partition("\n/house/b")[0]
    assert second == ("/house/b.hpp", 5, ["modernize-it"], OUTPUT.splitlines()[-1])
    assert list(read_findings("")) == []


def test_what_a_nolint_covers():
    assert covered(finding(1, "bugprone-this")) == [1]
    assert covered(finding(1, "bugprone-that", "bugprone-this")) == [1]
    assert covered(finding(1, "bugprone-that")) == []
    assert covered(finding(2, "bugprone-this")) == []
    assert covered(finding(3, "bugprone-this")) == [2]
    assert covered(finding(3, "modernize-anything")) == [2]
    assert [line for line in range(1, 10) if covered(finding(line, "bugprone-that"))] == [
        4,
        5,
        6,
        7,
        8,
    ]
    assert covered(finding(8, "anything")) == [8]
    assert covered(finding(9, "modernize-it")) == []
    assert covered(finding(1, "bugprone-this", file="b.cpp")) == []


def test_findings_and_nolints_that_stand_alone():
    findings = [
        finding(1, "bugprone-this"),
        finding(3, "bugprone-this"),
        finding(6, "modernize-it"),
    ]
    bare, dead = judge(findings, list(read_nolints("a.cpp", SOURCE)))
    assert bare == [findings[2]]
    assert [(nolint.where, nolint.check) for nolint in dead] == [
        ("a.cpp:2", "modernize-*"),
        ("a.cpp:7", "bugprone-that"),
        ("a.cpp:8", "*"),
        ("a.cpp:9", "modernize-it"),
    ]


def test_a_blanked_text_has_no_nolints_and_every_line_in_its_place():
    text = blanked(SOURCE)
    assert list(read_nolints("a.cpp", text)) == []
    assert [len(line) for line in text.splitlines()] == [len(line) for line in SOURCE.splitlines()]
