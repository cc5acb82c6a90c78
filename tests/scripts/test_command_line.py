"""`zembra` as a process: what it runs, how it ends, and what bash completes."""

import os
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

import zembra
from command import process, run
from peer import needs_h5py
from zembra import h5

ROOT = Path(__file__).resolve().parents[2]
COMMANDS = ["tree", "show", "plot", "check", "diff", "copy"]


@pytest.fixture
def sample(path):
    """A file with a group and a dataset."""
    with zembra.Id(h5.H5Fcreate(path, "H5F_ACC_TRUNC", "H5P_DEFAULT", "H5P_DEFAULT")) as file:
        zembra.Id(h5.H5Gcreate(file, "wind", 0)).close()
        space = zembra.Id(h5.H5Screate_simple(1, [1000], []))
        with space, zembra.Id(
            h5.H5Dcreate(file, "wind/my speed", "H5T_IEEE_F64LE", space, "H5P_DEFAULT")
        ) as dataset:
            everything = "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT"
            h5.H5Dwrite(dataset, *everything, np.arange(1000.0))
    return path


@pytest.mark.parametrize("command", COMMANDS)
def test_each_command_helps(capsys, command):
    done = run(capsys, command, "--help")
    assert done.status == 0 and done.out.startswith(f"usage: zembra {command} ")


def test_all_commands_are_listed(capsys):
    text = run(capsys, "--help").out
    assert all(f"\n    {command} " in text for command in COMMANDS) and "Exit status" in text
    major, minor, release = h5.H5get_libversion()
    version = f"zembra {zembra.__version__} with HDF5 {major}.{minor}.{release}\n"
    assert run(capsys, "--version") == (0, version, "")
    assert process("--version") == (0, version, "")


def test_statuses_of_processes(sample, tmp_path):
    assert process("tree", sample).status == 0
    assert process("copy", sample, tmp_path / "b.h5").status == 0
    assert process("diff", sample, tmp_path / "b.h5") == (0, "", "")
    assert process("check", sample).status == 0
    missing = process("tree", tmp_path / "none.h5")
    assert missing == (
        2,
        "",
        f"zembra tree: {tmp_path / 'none.h5'}: No such file or directory\n",
    )
    assert process("tree").status == 2


def test_what_is_neither_command_nor_script():
    assert process("tre") == (
        2,
        "",
        "zembra: there is no command or script 'tre'; did you mean 'tree'?\n",
    )
    assert process("nothing.py").err.endswith("'nothing.py'; --help lists the commands\n")


def test_a_pipe_that_is_closed_ends_a_command(sample):
    command = [sys.executable, "-m", "zembra", "show", sample, "/wind/my speed", "--range", ":"]
    environment = dict(os.environ, PYTHONPATH=str(Path(zembra.__file__).parents[1]))
    with subprocess.Popen(
        command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=environment
    ) as running:
        assert running.stdout is not None and running.stderr is not None
        running.stdout.close()
        assert running.stderr.read() == b""
    assert running.returncode in (0, 141)


DEATH = """
import os, signal, sys
from zembra import __main__, _command_line
def die(arguments):
    os.kill(os.getpid(), signal.{name})
_command_line.main = die
sys.argv[1:] = ["tree", "x.h5"]
sys.exit(__main__.main())
"""


@pytest.mark.parametrize("name, status, said", [("SIGKILL", 2, True), ("SIGTERM", 143, False)])
def test_files_that_kill_hdf5_end_in_a_sentence(name, status, said):
    done = subprocess.run(
        [sys.executable, "-c", DEATH.format(name=name)],
        capture_output=True,
        text=True,
        check=False,
        env=dict(os.environ, PYTHONPATH=str(Path(zembra.__file__).parents[1])),
    )
    assert done.returncode == status and done.stdout == ""
    if said:
        assert done.stderr.startswith("zembra tree: HDF5 did not survive the file (Killed")
        assert done.stderr.count("\n") == 1
    else:
        assert done.stderr == ""


@needs_h5py
def test_damaged_files_end_in_sentences(shared_data, tmp_path, capsys):
    """Cut off at every so-manieth byte."""
    whole = (shared_data / "tcompound.h5").read_bytes()
    bad, copied = tmp_path / "bad.h5", tmp_path / "copy.h5"
    for length in range(0, len(whole), 1009):
        bad.write_bytes(whole[:length])
        for words in (("tree", bad), ("show", bad, "/"), ("diff", bad, bad), ("copy", bad, copied)):
            done = run(capsys, *words)
            assert done.status == 2 and done.out == "" and done.err.count("\n") == 1, done
    assert not copied.exists()


# --- Completion -----------------------------------------------------------------------------


def completions(folder, *words):
    """What bash offers for the last of the words."""
    script = (
        f'. "{ROOT}/python/zembra.bash-completion"; COMP_WORDS=(zembra "$@"); COMP_CWORD=$#;'
        ' _zembra; printf "%s\\n" "${COMPREPLY[@]}"'
    )
    done = subprocess.run(
        ["bash", "-c", script, "bash", *map(str, words)],
        cwd=folder,
        capture_output=True,
        text=True,
        check=True,
        env=dict(os.environ, PATH=f"{folder}/bin:{os.environ['PATH']}"),
    )
    assert done.stderr == ""
    return sorted(done.stdout.split("\n")[:-1])


@pytest.fixture
def desk(sample, tmp_path):
    """A folder with a file, a script, and the command in its path."""
    (tmp_path / "bin").mkdir()
    command = tmp_path / "bin" / "zembra"
    package = Path(zembra.__file__).parents[1]
    command.write_text(f'#!/bin/sh\nPYTHONPATH={package} exec {sys.executable} -m zembra "$@"\n')
    command.chmod(0o755)
    (tmp_path / "story.py").touch()
    return tmp_path


def test_commands_and_scripts_are_completed(desk):
    assert completions(desk, "s") == ["show", "story.py"]
    assert completions(desk, "t") == ["test.h5", "tree"]
    assert completions(desk, "--v") == ["--version"]
    assert set(COMMANDS) < set(completions(desk, ""))


def test_options_and_files_are_completed(desk):
    assert completions(desk, "tree", "--n") == ["--names"]
    assert completions(desk, "show", "te") == ["test.h5"]
    assert completions(desk, "check", "a.h5", "tes") == ["test.h5"]


def test_every_option_is_completed(desk, capsys):
    for command in (*COMMANDS, "repack"):
        usage = run(capsys, command, "--help").out.split()
        options = {word.strip("[],") for word in usage if word.strip("[],").startswith("--")}
        assert set(completions(desk, command, "--")) == options, command


def test_paths_in_files_are_completed(desk):
    assert completions(desk, "show", "test.h5", "/wind/") == ["/wind/my speed"]
    assert completions(desk, "tree", "test.h5", "/") == ["/", "/wind", "/wind/my speed"]
    assert completions(desk, "show", "story.py", "/w") == [""]
