"""Lays the NAS out on this machine, runs a command and takes it all away again.

Called by nasbox, as root of a container, where namespaces are forbidden. What the tree replaces is
put aside first and comes back; every process that the command leaves behind is ended."""
import ctypes
import fcntl
import os
import shutil
import signal
import sys

DIRECTORIES = ["/root/.config", "/usr/share/.kallo", "/share", "/run/desktop", "/run/vexa",
               "/run/kalloagent", "/run/kallogate", "/tmp/.kalloagent.channel",
               "/tmp/Torvik.ServicePipe", "/var/log/kalloagent.core", "/var/log/vexa-services.log"]
ASIDE = "/.nasbox-aside"
PR_SET_CHILD_SUBREAPER = 36


def laid_out():
    """(source, place) of every file that the tree and the build add to the machine."""
    tree, programs = os.environ["NASBOX_TREE"], os.environ["NASBOX_BIN"]
    for folder, folders, files in os.walk(tree):
        for name in files + [f for f in folders if os.path.islink(os.path.join(folder, f))]:
            source = os.path.join(folder, name)
            place = "/" + os.path.relpath(source, tree)
            if not (os.environ["NASBOX_REAL_WINDOWS"] and place.startswith("/usr/bin/")):
                yield source, place
    for place in ("/sbin/rdconf", "/sbin/wrconf", "/opt/bin/zelvshmenv", "/usr/sbin/kalloagent",
                  "/usr/sbin/kallogate", "/usr/bin/kalloctl"):
        source = os.path.join(programs, os.path.basename(place))
        if os.path.exists(source):
            yield source, place


def make_folders(path, made):
    missing = []
    while not os.path.isdir(path):
        missing.append(path)
        path = os.path.dirname(path)
    for folder in reversed(missing):
        os.mkdir(folder)
        made.append(folder)


def put_aside(place, moved):
    if os.path.lexists(place):
        kept = ASIDE + place
        os.makedirs(os.path.dirname(kept), exist_ok=True)
        shutil.move(place, kept)
        moved.append((kept, place))


def remove(place):
    if os.path.isdir(place) and not os.path.islink(place):
        shutil.rmtree(place)
    elif os.path.lexists(place):
        os.remove(place)


def end_children():
    """Ends what the command left behind; it is re-parented to this process (prctl(2))."""
    while True:
        with open(f"/proc/self/task/{os.getpid()}/children", encoding="ascii") as children:
            for child in children.read().split():
                os.kill(int(child), signal.SIGKILL)
        try:
            os.wait()
        except ChildProcessError:
            return


def run(command):
    """Waits for the command, and meanwhile for the processes that lose their parents: nobody else
    would, and who waits for the end of one would wait for ever."""
    try:
        child = os.posix_spawnp(command[0], command, os.environ)
    except OSError as error:
        print(f"nasbox: {command[0]}: {error.strerror}", file=sys.stderr)
        return 127
    while True:
        pid, status = os.wait()
        if pid == child:
            return os.waitstatus_to_exitcode(status)


def main(reason, command):
    moved, made, placed = [], [], []
    turn = os.open(__file__, os.O_RDONLY)  # one box at a time: they would share the machine
    fcntl.flock(turn, fcntl.LOCK_EX)
    if os.path.exists("/etc/config"):
        print(f"nasbox: {reason}, and /etc/config exists, so the NAS is not laid out in place",
              file=sys.stderr)
        return 125
    print(f"nasbox: {reason}; the NAS is laid out in place", file=sys.stderr)
    ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda *_: sys.exit(125))
    try:
        for place in DIRECTORIES:
            make_folders(os.path.dirname(place), made)
            put_aside(place, moved)
        for source, place in laid_out():
            put_aside(place, moved)
            make_folders(os.path.dirname(place), made)
            shutil.copy2(source, place, follow_symlinks=place.startswith(("/sbin", "/usr")))
            placed.append(place)
        os.chmod("/etc/config/shadow", 0o600)
        return run(command)
    finally:
        end_children()
        for place in DIRECTORIES + placed:
            remove(place)
        for folder in reversed(made):
            shutil.rmtree(folder, ignore_errors=True)
        for kept, place in reversed(moved):
            shutil.move(kept, place)
        shutil.rmtree(ASIDE, ignore_errors=True)


STATUS = main(sys.argv[1], sys.argv[2:])
sys.exit(STATUS if STATUS >= 0 else 128 - STATUS)
