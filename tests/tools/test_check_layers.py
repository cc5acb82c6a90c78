"""The check of the house, on houses with something planted in them."""

from check_layers import check, read_layers

LIST = """\
# A comment.
top:      middle ground
middle:   ground   # another
ground:

same: ground/array middle/array
"""

HOUSE = {
    "ground/array.hpp": "#pragma once\n#include <vector>\n",
    "ground/keys.def": "",
    "middle/array.cpp": '#include "ground/array.hpp"\n#include "middle/list.hpp"\n',
    "middle/list.cpp": '#include "middle/list.hpp"\n',
    "middle/list.hpp": '#include "ground/keys.def"\n',
    "top/main.cpp": '#include "middle/list.hpp"\n  #  include  "ground/array.hpp"  // array\n',
}


def findings(planted, list_text=LIST):
    """Of the house with some files planted in it."""
    files = dict(sorted({**HOUSE, **planted}.items()))
    return check(files, read_layers(list_text))


def test_a_house_in_order():
    assert findings({}) == []


def test_an_include_against_the_arrows():
    wrong = '// Words.\n#include "middle/list.hpp"\n#include <top/top.hpp>\n'
    assert findings({"ground/wrong.cpp": wrong, "top/top.hpp": ""}) == [
        'ground/wrong.cpp:2: includes "middle/list.hpp": ground/ may include from no other folder',
        'ground/wrong.cpp:3: includes "top/top.hpp": ground/ may include from no other folder',
    ]
    assert findings({"middle/wrong.cpp": '#include "top/top.hpp"\n', "top/top.hpp": ""}) == [
        'middle/wrong.cpp:1: includes "top/top.hpp": middle/ may include from ground'
    ]


def test_a_comment_includes_nothing():
    assert findings({"ground/fine.cpp": '// #include "middle/list.hpp"\n'}) == []


def test_a_circle_of_files():
    circle = {
        "middle/one.hpp": '#include "middle/two.hpp"\n',
        "middle/two.hpp": "",
        "middle/two.cpp": '\n#include "middle/three.def"\n',
        "middle/three.def": '#include "middle/list.hpp"\n#include "one.hpp"\n',
    }
    assert findings(circle) == [
        'middle/one.hpp:1: includes "middle/two.hpp": a circle:'
        " middle/one -> middle/two -> middle/three -> middle/one"
    ]


def test_every_circle_is_found():
    circles = {
        "middle/a.hpp": '#include "middle/b.hpp"\n#include "middle/c.hpp"\n',
        "middle/b.hpp": '#include "middle/a.hpp"\n',
        "middle/c.hpp": '#include "middle/a.hpp"\n',
    }
    found = findings(circles)
    assert len(found) == 2 and all("a circle: " in line for line in found)


def test_a_header_that_is_not_there():
    assert findings({"top/lost.cpp": '#include "ground/nothing.hpp"\n'}) == [
        'top/lost.cpp:1: includes "ground/nothing.hpp": there is no such file'
    ]


def test_a_folder_that_is_not_in_the_list():
    attic = {"attic/a.cpp": '#include "attic/b.hpp"\n#include "top/main.hpp"\n', "attic/b.hpp": ""}
    assert findings({**attic, "top/main.hpp": ""}) == [
        "attic/a.cpp:1: attic/ is not in tools/layers.txt"
    ]
    assert findings({**attic, "top/main.hpp": '#include "attic/b.hpp"\n'}) == [
        'top/main.hpp:1: includes "attic/b.hpp": top/ may include from middle ground',
        "attic/a.cpp:1: attic/ is not in tools/layers.txt",
    ]


def test_one_name_for_two_things():
    assert findings({"top/array.cpp": "", "top/list.hpp": ""}) == [
        "top/array.cpp:1: has the name of ground/array and middle/array",
        "top/list.hpp:1: has the name of middle/list",
    ]


def test_a_list_that_is_out_of_order():
    lines = "nonsense\ntop: ground\nroof: sky\nsame: top/main roof/main\n"
    assert findings({}, LIST + lines) == [
        "tools/layers.txt:7: nonsense: not 'FOLDER: FOLDERS'",
        "tools/layers.txt:8: top: ground: said twice",
        "tools/layers.txt: sky is allowed to be included and has no line of its own",
        "tools/layers.txt: same: there is no roof/main",
    ]
    assert findings({}, LIST.replace("ground:", "ground: middle")) == [
        "tools/layers.txt: the arrows lead in a circle: ground -> middle -> ground"
    ]
