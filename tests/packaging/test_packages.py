"""The Debian packages of a finished build: what is in them, what lintian and systemd make of them,
and a life of the service from install to purge. All of it in trees of their own; nothing is
installed on this machine. Run by ctest, which names the build folder in KALLO_BUILD."""

import gzip
import os
import shutil
import subprocess
from pathlib import Path

import pytest

BUILD = Path(os.environ["KALLO_BUILD"])
WANTS = "etc/systemd/system/multi-user.target.wants/kalloagent.service"
MASK = "etc/systemd/system/kalloagent.service"
HAND_OVER = "usr/share/.kallo/.kallopw.log"
CRASH_REPORT = "var/log/kalloagent.core"
AS_ROOT = [] if os.geteuid() == 0 else ["unshare", "--map-root-user"]


def run(*command, **options):
    done = subprocess.run([str(word) for word in command], text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, **options)
    assert done.returncode == 0, f"{command}:\n{done.stdout}"
    return done.stdout


@pytest.fixture(scope="module")
def packages(tmp_path_factory):
    folder = tmp_path_factory.mktemp("packages")
    run("cpack", "--config", BUILD / "CPackConfig.cmake", "-B", folder, umask=0o022)
    return sorted(folder.glob("*.deb"))


class Tree:
    """A root folder of another machine, with the packages installed."""

    def __init__(self, root, packages):
        self.root = root
        (root / "var/lib/dpkg").mkdir(parents=True)
        self.dpkg("-i", *packages)

    def dpkg(self, *words):
        # Maintainer scripts are this machine's to run and get the tree as DPKG_ROOT; the libraries
        # that the packages depend on are not there.
        run(*AS_ROOT, "dpkg", f"--root={self.root}", f"--log={self.root}/dpkg.log",
            "--force-script-chrootless", "--force-not-root", "--force-depends", *words,
            env={**os.environ, "PATH": "/usr/sbin:/usr/bin:/sbin:/bin"})

    def has(self, path):
        return os.path.lexists(self.root / path)


@pytest.fixture
def tree(tmp_path, packages):
    if AS_ROOT and subprocess.run([*AS_ROOT, "true"], check=False).returncode != 0:
        pytest.skip("neither root nor allowed to be root in a namespace: no files of root's")
    return Tree(tmp_path / "root", packages)


def test_files_and_programs(tree):
    assert tree.has("usr/share/bash-completion/completions/kalloctl")
    assert tree.has("usr/share/man/man5/kallo.xml.5.gz")
    changelog = gzip.open(tree.root / "usr/share/doc/kalloctl/changelog.gz", "rt").readline()
    version = changelog.split("(")[1].split(")")[0]
    assert version in run(tree.root / "usr/bin/kalloctl", "--version")
    # Crash reports take the names of functions from here.
    assert "CKalloAgent::exec()" in run("nm", "-DC", tree.root / "usr/sbin/kalloagent")


def test_dependencies(packages):
    agent, client = (run("dpkg-deb", "-f", package, "Depends") for package in packages)
    assert all(wanted in agent for wanted in ("procps", "libssl3", "libcrypt1", "libc6 (>="))
    assert "libssl3" in client and "procps" not in client


def test_lintian(packages):
    assert run("lintian", "--allow-root", "--fail-on", "error,warning", *packages,
               env={**os.environ, "LC_ALL": "C.UTF-8"}) == ""


def test_systemd_accepts_the_unit(tree):
    shutil.copytree("/lib/systemd/system", tree.root / "usr/lib/systemd/system", symlinks=True,
                    dirs_exist_ok=True)
    assert run("systemd-analyze", "verify", f"--root={tree.root}", "--man=no",
               "--recursive-errors=no", "kalloagent.service") == ""


def test_the_agents_files_in_tmp_are_spared_by_the_cleaning(tree):
    (tree.root / "usr/lib/tmpfiles.d/tmp.conf").write_text("q /tmp 1777 root root 0\n")
    (tree.root / "tmp").mkdir()
    for name in (".kalloagent.channel", "Torvik.ServicePipe", "some.other"):
        (tree.root / "tmp" / name).touch()
    run("systemd-tmpfiles", f"--root={tree.root}", "--clean", "tmp.conf", "kalloagent.conf")
    assert sorted(os.listdir(tree.root / "tmp")) == [".kalloagent.channel", "Torvik.ServicePipe"]


def test_life_of_the_service(tree, packages):
    assert tree.has(WANTS)

    (tree.root / WANTS).unlink()  # systemctl disable
    tree.dpkg("-i", *packages)
    assert not tree.has(WANTS), "an upgrade enabled what the administrator had disabled"

    for path in (HAND_OVER, CRASH_REPORT, "usr/share/.kallo/kept"):
        (tree.root / path).parent.mkdir(parents=True, exist_ok=True)
        (tree.root / path).touch()
    tree.dpkg("--remove", "kalloagent")
    assert tree.has(HAND_OVER) and tree.has(CRASH_REPORT)
    assert os.readlink(tree.root / MASK) == "/dev/null"
    tree.dpkg("-i", *packages)
    assert not tree.has(MASK)
    tree.dpkg("--purge", "kalloagent")
    assert not [path for path in (MASK, HAND_OVER, CRASH_REPORT) if tree.has(path)]
    assert tree.has("usr/share/.kallo/kept"), "the folder is shared with the desktop"
