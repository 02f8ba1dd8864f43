"""The Debian packages of a finished build: what is in them, what lintian and systemd make of them,
what becomes of a crash report, and a life of the service from install to purge. All of it in trees
and boxes of their own; nothing is installed on this machine. Run by ctest, which names the build
folder, the addr2line of its processor and, when that is another one, what runs its programs."""

import gzip
import os
import re
import shutil
import subprocess
from pathlib import Path

import pytest

SOURCE = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ["KALLO_BUILD"])
ADDR2LINE = os.environ["KALLO_ADDR2LINE"]
EMULATOR = os.environ["KALLO_EMULATOR"].split()
MACHINES = {"Advanced Micro Devices X86-64": "amd64", "AArch64": "arm64"}
UNIT = "kalloagent.service"
GATE_UNIT = "usr/lib/systemd/system/kallogate.service"
WANTS = f"etc/systemd/system/multi-user.target.wants/{UNIT}"
MASK = f"etc/systemd/system/{UNIT}"
HAND_OVER = "usr/share/.kallo/.kallopw.log"
CRASH_REPORT = "var/log/kalloagent.core"
SECURITY = "usr/share/doc/kalloagent/security.md.gz"
AS_ROOT = [] if os.geteuid() == 0 else ["unshare", "--map-root-user"]


def run(*command, **options):
    done = subprocess.run([str(word) for word in command], text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, **options)
    assert done.returncode == 0, f"{command}:\n{done.stdout}"
    return done.stdout


@pytest.fixture(scope="module", name="packages")
def fixture_packages(tmp_path_factory):
    """The package files by name of the package."""
    folder = tmp_path_factory.mktemp("packages")
    run("cpack", "--config", BUILD / "CPackConfig.cmake", "-B", folder, umask=0o022)
    return {file.name.split("_")[0]: file for file in sorted(folder.glob("*.deb"))}


class Tree:
    """A root folder of another machine, with the packages installed."""

    def __init__(self, root, packages):
        self.root = root
        (root / "var/lib/dpkg").mkdir(parents=True)
        (root / "etc").mkdir()
        self.said = self.dpkg("-i", *packages.values())

    def dpkg(self, *words):
        # Maintainer scripts are this machine's to run and get the tree as DPKG_ROOT; the libraries
        # that the packages depend on are not there.
        return run(*AS_ROOT, "dpkg", f"--root={self.root}", f"--log={self.root}/dpkg.log",
                   "--force-script-chrootless", "--force-not-root", "--force-depends",
                   "--force-architecture", *words,
                   env={**os.environ, "PATH": "/usr/sbin:/usr/bin:/sbin:/bin"})

    def systemctl(self, action):
        run("systemctl", f"--root={self.root}", action, UNIT)

    def has(self, path):
        return os.path.lexists(self.root / path)


@pytest.fixture(name="tree")
def fixture_tree(tmp_path, packages):
    if AS_ROOT and subprocess.run([*AS_ROOT, "true"], check=False).returncode != 0:
        pytest.skip("neither root nor allowed to be root in a namespace: no files of root's")
    return Tree(tmp_path / "root", packages)


@pytest.fixture(scope="module", name="box")
def fixture_box(packages, tmp_path_factory):
    """Runs shell lines in a box, once the agent answers its client there. Both are the packages',
    the platform's tools the build's."""
    folder = tmp_path_factory.mktemp("box")
    for package in packages.values():
        run("dpkg-deb", "-x", package, folder / "tree")
    (folder / "bin").mkdir()
    for program in (folder / "tree/usr/sbin/kalloagent", folder / "tree/usr/bin/kalloctl",
                    *(BUILD / "bin" / name for name in ("rdconf", "wrconf", "zelvshmenv"))):
        link = folder / "bin" / program.name
        link.write_text(f'#!/bin/sh\nexec {" ".join(EMULATOR)} {program} "$@"\n')
        link.chmod(0o755)
    start = """kalloagent >/tmp/log 2>&1 &
        until kalloctl status >/dev/null 2>&1; do
            kill -0 $! || { cat /tmp/log; exit 1; }
            sleep 0.1
        done\n"""
    return lambda lines: run(SOURCE / "nasbox/nasbox", "--bin", folder / "bin", "--ro-bind", folder,
                             "--ro-bind", BUILD / "bin", "--", "/bin/sh", "-c", start + lines)


def test_files_and_programs(tree):
    assert tree.has("usr/share/bash-completion/completions/kalloctl")
    assert tree.has("usr/share/man/man5/kallo.xml.5.gz")
    for page in tree.root.glob("usr/share/man/*/*.gz"):
        for named in re.findall(r"/(usr/share/doc/\S+)", gzip.open(page, "rt").read()):
            assert tree.has(named), f"{page.name} names {named}"
    changelog = gzip.open(tree.root / "usr/share/doc/kalloctl/changelog.gz", "rt").readline()
    version = changelog.split("(")[1].split(")")[0]
    assert version in run(*EMULATOR, tree.root / "usr/bin/kalloctl", "--version")
    agent = tree.root / "usr/sbin/kalloagent"
    assert f'"version":"{version}"' in run("readelf", "-n", agent)
    # Crash reports take the names of functions from here.
    assert "CKalloAgent::exec()" in run("nm", "-DC", agent)


def test_nothing_tells_where_it_was_built(tree):
    files = [file for file in tree.root.glob("usr/**/*") if file.is_file()]
    assert any(file.suffix == ".debug" for file in files)
    assert not [file for file in files if str(SOURCE).encode() in file.read_bytes()]


@pytest.mark.parametrize("package, wanted, unwanted", [
    ("kalloagent", ["procps", "libssl3", "libcrypt1", "libc6 (>="], "-cross"),
    ("kalloctl", ["libssl3", "libstdc++6"], "-cross|procps"),
    ("kalloagent-dbgsym", ["kalloagent (= "], "libc6"),
    ("kalloctl-dbgsym", ["kalloctl (= "], "libc6"),
    ("kallogate", ["libsystemd0", "libssl3", "libqrencode4", "systemd-sysusers"], "-cross|boost"),
    ("kallogate-dbgsym", ["kallogate (= "], "libc6")])
def test_fields(packages, package, wanted, unwanted):
    machine = re.search(r"Machine: *(.*)", run("readelf", "-h", BUILD / "bin/kalloagent"))[1]
    fields = run("dpkg-deb", "-f", packages[package], "Architecture", "Depends")
    assert f"Architecture: {MACHINES[machine]}\n" in fields
    assert all(name in fields for name in wanted) and not re.search(unwanted, fields)


def test_lintian(packages):
    assert run("lintian", "--allow-root", "--fail-on", "error,warning", *packages.values(),
               env={**os.environ, "LC_ALL": "C.UTF-8"}) == ""


def test_crash_report_becomes_functions_and_lines(box, packages, tmp_path):
    report = box(f"kill -SEGV $!\nwait $!\ncat /{CRASH_REPORT}")
    (tmp_path / "kalloagent.core").write_text(report)
    shutil.copy(packages["kalloagent-dbgsym"], tmp_path)
    page = (SOURCE / "docs/operations.md").read_text(encoding="utf-8")
    command = re.search(r"```sh\n(dpkg-deb -x kalloagent-dbgsym.*?)```", page, re.S)[1]
    frames = run("/bin/sh", "-c", command.replace("addr2line", ADDR2LINE), cwd=tmp_path)
    file, line = re.search(r"CKalloAgent::exec\(\) at (\S+):(\d+)", frames).groups()
    code = (SOURCE / file).read_text(encoding="utf-8").splitlines()
    # It waits for a client or, when the client has just gone, closes that connection.
    assert re.search(r"\b(epoll_wait|acceptTcp_)\(", code[int(line) - 1]), frames


def test_systemd_accepts_the_units(tree):
    shutil.copytree("/lib/systemd/system", tree.root / "usr/lib/systemd/system", symlinks=True,
                    dirs_exist_ok=True)
    assert run("systemd-analyze", "verify", f"--root={tree.root}", "--man=no",
               "--recursive-errors=no", UNIT, "kallogate.service") == ""


def test_the_gate_runs_as_its_own_user_behind_walls(tree):
    unit = tree.root / GATE_UNIT
    user = re.search(r"^User=(.*)", unit.read_text(), re.M)[1]
    assert f"\n{user}:" in "\n" + (tree.root / "etc/passwd").read_text()
    assert f"skuid {{ root, {user} }}" in (tree.root / "usr/share/kallogate/kallogate.nft").read_text()
    assert not tree.has("etc/systemd/system/multi-user.target.wants/kallogate.service")
    run("systemd-analyze", "security", "--offline=true", "--threshold=15", unit)  # tenths
    options = ["check-config", "--config"]
    example = tree.root / "usr/share/doc/kallogate/examples/kallogate.toml"
    text = re.sub(r"^#(?! )", "", example.read_text(), flags=re.M)
    example.write_text(text)
    assert "sound" in run(*EMULATOR, tree.root / "usr/sbin/kallogate", *options, example)


def test_the_agents_files_in_tmp_are_spared_by_the_cleaning(tree):
    (tree.root / "usr/lib/tmpfiles.d/tmp.conf").write_text("q /tmp 1777 root root 0\n")
    (tree.root / "tmp").mkdir()
    for name in (".kalloagent.channel", "Torvik.ServicePipe", "some.other"):
        (tree.root / "tmp" / name).touch()
    run("systemd-tmpfiles", f"--root={tree.root}", "--clean", "tmp.conf", "kalloagent.conf")
    assert sorted(os.listdir(tree.root / "tmp")) == [".kalloagent.channel", "Torvik.ServicePipe"]


def test_life_of_the_service(tree, packages):
    assert not tree.has(WANTS) and f"/{SECURITY}" in tree.said and tree.has(SECURITY)
    for action in ("enable", "disable"):
        tree.systemctl(action)
        assert SECURITY not in tree.dpkg("-i", *packages.values())
        assert tree.has(WANTS) == (action == "enable"), f"an upgrade has undone the {action}"

    tree.systemctl("enable")
    for path in (HAND_OVER, CRASH_REPORT, "usr/share/.kallo/kept"):
        (tree.root / path).parent.mkdir(parents=True, exist_ok=True)
        (tree.root / path).touch()
    tree.dpkg("--remove", "kalloagent-dbgsym", "kalloagent")
    assert tree.has(HAND_OVER) and tree.has(CRASH_REPORT)
    assert os.readlink(tree.root / MASK) == "/dev/null"
    tree.dpkg("-i", *packages.values())
    assert not tree.has(MASK) and tree.has(WANTS)
    tree.dpkg("--purge", "kalloagent-dbgsym", "kalloagent")
    assert not [path for path in (WANTS, MASK, HAND_OVER, CRASH_REPORT) if tree.has(path)]
    assert tree.has("usr/share/.kallo/kept"), "the folder is shared with the desktop"
    (tree.root / "var/lib/kallogate").mkdir()
    (tree.root / "var/lib/kallogate/devices.json").touch()
    tree.dpkg("--remove", "kallogate-dbgsym", "kallogate")
    assert tree.has("var/lib/kallogate/devices.json")
    tree.dpkg("--purge", "kallogate")
    assert not tree.has("var/lib/kallogate")


@pytest.mark.parametrize("package", ["kalloagent", "kallogate"])
@pytest.mark.parametrize("script, arguments, calls", [
    ("postinst", ["configure", ""], []), ("postinst", ["configure", "1.0.0"], ["try-restart"]),
    ("prerm", ["upgrade", "1.0.1"], []), ("prerm", ["remove"], ["stop"]),
    ("postrm", ["purge"], [])])
def test_what_is_done_to_a_running_service(tmp_path, package, script, arguments, calls):
    """The scripts as on a machine that systemd runs, with recorders in the place of its tools."""
    (tmp_path / "calls").touch()
    for tool in ("deb-systemd-invoke", "deb-systemd-helper", "systemctl", "systemd-sysusers"):
        (tmp_path / tool).write_text(f'#!/bin/sh\necho "{tool} $*" >>"{tmp_path}/calls"\n')
        (tmp_path / tool).chmod(0o755)
    text = (SOURCE / "packaging" / package / script).read_text(encoding="utf-8")
    for path in ("/run/systemd/system", "/usr/share/.kallo", "/var/log", "/var/lib"):
        text = text.replace(path, str(tmp_path))
    run("/bin/sh", "-c", text, script, *arguments, env={"PATH": f"{tmp_path}:/usr/bin:/bin"})
    said = (tmp_path / "calls").read_text()
    assert re.findall(rf"deb-systemd-invoke (\S+) {package}.service", said) == calls
    assert not re.search(r"systemctl.*(start|stop|enable)", said)
