"""Trees in which a mutant is built and shown to the tests, those first that most probably notice it."""
import concurrent.futures
import contextlib
import io
import os
import re
import signal
import subprocess
import tarfile
import tempfile
import threading
import time

import mistakes

MEMORY = 4 << 30      # bytes of data a test may ask for
BUILD_SECONDS = 1200
FIRST_SECONDS = 1800  # for a test whose time is not known yet
SLOW = "*WhateverFails*"
NOT_OF_THE_PROGRAM = {"tools", "hosts", "builds"}  # tests of tools, of whole hosts, and of reproducible packages

# What a compiler or a linker says of code that is wrong, but not of a full disk or of memory that it lacks.
WRONG_CODE = re.compile(rb"^\S+:\d+:\d+: error: |: error: (undefined|duplicate) symbol", re.MULTILINE)

# The scripts that ship in packages are tried on the hosts that CI tests, too.
HOSTS = ["script/test-hosts rpm dpkg", "script/test-hosts sysvinit systemd"]

# Which stories are about a folder: words in their names, the first folder that fits; stories with the first word come
# first. All others come after them.
STORIES_OF = [
    ("preview", ["preview"]), ("apply", ["scenarios/apply", "record"]), ("status", ["status"]),
    ("agents/carry", ["upgrade", "reconfigure"]), ("agents", ["clean", "upgrade"]),
    ("settings", ["values", "questionnaire", "bad-input", "questions", "xml"]),
    ("config", ["fresh-install", "values", "reconfigure", "client-conf"]),
    ("deploykit", ["service", "fresh-install", "clean"]),
    ("integration/qdn-env", ["qdn-env", "package/", "packaging/"]),
    ("packaging", ["scriptlets", "test-hosts", "packaging/"]),
    ("package", ["service-script", "package/", "service"]),
    ("integration", ["fresh-install", "service", "mended"]), ("corekit/process", ["service", "surroundings", "signals"]),
    ("corekit/json", ["preview", "status"]), ("corekit/fs", ["clean", "exchange", "planted", "faults/"]),
    ("app/Preview", ["preview"]), ("app/Apply", ["scenarios/apply", "record"]), ("app/Status", ["status"]),
    ("app/Clean", ["clean"]), ("app/Xml", ["xml", "values", "bad-input"]),
    ("app", ["command-line", "refusals", "failing-runs", "fresh-install"]), ("", ["fresh-install", "bad-input"]),
]


running = set()  # what was started and has not ended
is_ended = threading.Event()  # by a signal: what fails from now on was killed, and says nothing of a mutant


def run(command, seconds, output=subprocess.DEVNULL, **others):
    """The status of a command; None when it did not end in time. What it has started ends with it."""
    with started(command, output, output, **others) as process:
        try:
            return process.wait(seconds)
        except subprocess.TimeoutExpired:
            return None


def run_story(path, seconds, chosen="", **others):
    """The status of a story, or of its chosen test alone, or the name of the first test that fails, which ends it; None
    when it did not end in time."""
    only = ["-f", "^" + re.sub(r"[^\w ]", ".", chosen) + "$"] if chosen else []
    with started(["bats", *only, path], subprocess.PIPE, subprocess.DEVNULL, **others) as process:
        is_late = threading.Event()
        limit = threading.Timer(seconds, lambda: (is_late.set(), end(process)))
        limit.start()
        try:
            failed = next((line for line in process.stdout if line.startswith(b"not ok ")), None)
            if failed:
                return failed.decode().rstrip("\n").split(" ", 3)[3]
            return None if is_late.is_set() else process.wait()
        finally:
            limit.cancel()


@contextlib.contextmanager
def started(command, output, errors, **others):
    """A command that runs; when the scope is left it ends, and what it has started with it."""
    process = subprocess.Popen(["prlimit", f"--data={MEMORY}", *command], stdin=subprocess.DEVNULL,
                               stdout=output, stderr=errors, start_new_session=True, **others)
    running.add(process)
    try:
        yield process
    finally:
        end(process)
        process.wait()
        if process.stdout:
            process.stdout.close()
        running.discard(process)


def end(process):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass


def end_all(number, _):
    """Ends this program by a signal, and what it has started. The journal has all outcomes so far."""
    is_ended.set()
    for process in list(running):
        end(process)
    os._exit(128 + number)


class Tree:
    """A copy of the committed tree, built. What an earlier run has built is taken up: only files that differ are written."""

    def __init__(self, path, top):
        self.path = path
        self.build_path = os.path.join(path, "build/dev")
        self.programs = {}
        self.libraries = {}  # of the tree that each program links
        os.makedirs(path, exist_ok=True)
        self.write(top)

    def write(self, top):
        archive = subprocess.run(["git", "-C", top, "archive", "HEAD"], stdout=subprocess.PIPE, check=True).stdout
        with tarfile.open(fileobj=io.BytesIO(archive)) as tree:
            names = {member.name for member in tree}
            for where, folders, files in os.walk(self.path):
                folders[:] = [name for name in folders if (where, name) != (self.path, "build")]
                for path in (os.path.join(where, name) for name in files):
                    if os.path.relpath(path, self.path) not in names:
                        os.remove(path)
            for member in tree:
                path = os.path.join(self.path, member.name)
                if not member.isfile() or not os.path.isfile(path) or \
                        open(path, "rb").read() != tree.extractfile(member).read():
                    tree.extract(member, self.path)
                    if member.isfile():
                        os.utime(path)

    def build_all(self):
        # What the compiler merely warns of, the tests have to notice.
        subprocess.run(["cmake", "--preset", "dev", "-D", "QDN_STRICT=OFF"], cwd=self.path, check=True,
                       stdout=subprocess.DEVNULL)
        subprocess.run(["ninja", "-C", self.build_path], check=True, stdout=subprocess.DEVNULL)
        for where, _, names in os.walk(os.path.join(self.build_path, "tests")):
            for name in names:
                path = os.path.join(where, name)
                if name.startswith("unit_") and os.access(path, os.X_OK) and os.path.isfile(path):
                    self.programs[name] = os.path.relpath(path, self.build_path)
                    self.libraries[name] = self.libraries_of(name)

    def build(self, *targets):
        """None when it is built, or else the outcome: "uncompiled" when the code is wrong, "unbuilt" else."""
        with tempfile.TemporaryFile() as output:
            if run(["ninja", "-C", self.build_path, *targets], BUILD_SECONDS, output) == 0:
                return None
            output.seek(0)
            return "uncompiled" if WRONG_CODE.search(output.read()) else "unbuilt"

    def libraries_of(self, program):
        inputs = subprocess.run(["ninja", "-C", self.build_path, "-t", "inputs", self.programs[program]],
                                stdout=subprocess.PIPE, check=True, text=True).stdout
        return {line for line in inputs.split("\n") if line.endswith(".a") and not line.startswith("/")}

    def unit_programs_for(self, path):
        """The unit programs that link a source's library: its own folder's first, then those that link little else."""
        folder, library = os.path.dirname(path), None
        while folder and not library:
            name = folder.replace("/", "_")
            library = f"{folder}/lib{name}.a" if os.path.exists(f"{self.build_path}/{folder}/lib{name}.a") else None
            folder = os.path.dirname(folder)
        return sorted((program for program in self.programs if library in self.libraries[program]),
                      key=lambda program: (program != "unit_" + name, len(self.libraries[program]), program))

    def stories_for(self, path):
        words = next(words for folder, words in STORIES_OF if path.startswith(folder))
        every = [os.path.join("tests", suite, name)
                 for suite in os.listdir(os.path.join(self.path, "tests")) if suite not in NOT_OF_THE_PROGRAM
                 and os.path.isdir(os.path.join(self.path, "tests", suite))
                 for name in os.listdir(os.path.join(self.path, "tests", suite)) if name.endswith(".bats")]
        late = ["docs", "attacks", "faults", "ansible", "rounds", "packaging"]
        return sorted(every + (HOSTS if path.startswith(("package/", "packaging/")) else []),
                      key=lambda story: (([word in story for word in words] + [True]).index(True), story in HOSTS,
                                         (late.index(story.split("/")[1]) + 1 if story.split("/")[1] in late else 0), story))

    def show_to(self, test, seconds):
        """The status of a test: a story, "STORY TEST" for one of its tests, a script or "PROGRAM FILTER"; the name of the
        test where one of a story fails; None when it did not end in time."""
        story, _, chosen = test.partition(" ")
        if story.endswith(".bats"):
            # The limit of bats itself may outlive a test that is over at once, and what waits for its output with it.
            return run_story(story, seconds, chosen, cwd=self.path,
                             env=dict(os.environ, QDN_BUILD="dev", PRIVATE_MACHINE_SECONDS=str(int(seconds))))
        if test in HOSTS:
            return run(test.split(), seconds, cwd=self.path)
        program, chosen = test.split()
        return run([os.path.join(self.build_path, self.programs[program]), "--gtest_brief=1", "--gtest_filter=" + chosen],
                   seconds, cwd=self.path)


class Limits:
    """How long a test may take: several times what it takes in a tree without mistakes, where it has to pass."""

    def __init__(self, tree):
        self.tree = tree
        self.seconds = {}
        self.lock = threading.Lock()

    def of(self, test):
        with self.lock:
            if test not in self.seconds:
                self.measure(test)
            return 5 * self.seconds[test] + 20

    def again(self, test):
        """The limit on a machine that may have become busy."""
        with self.lock:
            self.measure(test)
            return 5 * self.seconds[test] + 20

    def measure(self, test):
        for _ in range(2):
            began = time.time()
            if self.tree.show_to(test, FIRST_SECONDS) == 0:
                self.seconds[test] = max(time.time() - began, self.seconds.get(test, 0))
                return
        raise RuntimeError(f"{test} fails without any mistake; look in {self.tree.path}")


class Trial:
    """What becomes of one mutant in one tree."""

    def __init__(self, tree, limits, units_only, stories_at_once):
        self.tree, self.limits, self.units_only, self.stories_at_once = tree, limits, units_only, stories_at_once

    def of(self, mutant, first):
        """The outcome ("uncompiled", "unbuilt", "noticed" or "survives") and the test that noticed, or "-". The one that
        noticed it before, if any, is asked first."""
        path = os.path.join(self.tree.path, mutant.file)
        original = open(path).read()
        lines = original.split("\n")
        lines[mutant.line - 1] = mutant.after
        try:
            open(path, "w").write("\n".join(lines))
            return self.outcome(mutant.file, first)
        finally:
            open(path, "w").write(original)

    def outcome(self, path, first):
        if not mistakes.is_compiled(path) and run(["sh", "-n", path], BUILD_SECONDS, cwd=self.tree.path) != 0:
            return "uncompiled", "-"
        for targets, tests in self.steps(path, first):
            failure = self.tree.build(*targets)
            if failure:
                return failure, "-"
            by = self.first_that_notices(tests)
            if by:
                return "noticed", targets[0] if targets else by
        return "survives", "-"

    def steps(self, path, first):
        """What is built, one after another, and the tests that are then asked: the story or unit program that comes
        first, the unit programs, and the other stories."""
        programs = self.tree.unit_programs_for(path) if mistakes.is_compiled(path) else []
        stories = self.tree.stories_for(path)
        if first in programs:
            programs.remove(first)
            yield [first], [f"{first} -{SLOW}", f"{first} {SLOW}"]
        elif first in stories:
            stories.remove(first)
            yield [], [first]
        for chosen in ("-" + SLOW, SLOW):
            for program in programs:
                yield [program], [f"{program} {chosen}"]
        if not self.units_only:
            yield [], stories

    def first_that_notices(self, tests):
        """A test that notices the mutant; None when all pass."""
        found = []

        def show(test):
            if not found and self.notices(test):
                found.append(test)
        with concurrent.futures.ThreadPoolExecutor(self.stories_at_once) as pool:
            list(pool.map(show, tests))
        return found[0] if found else None

    def notices(self, test):
        """True if a test fails twice in a row, so that a busy machine is no reason. Of a story the test that failed is asked
        alone, and all of them only where it passes so."""
        status = self.status_of(test)
        if status == 0:
            return False
        if isinstance(status, str) and isinstance(self.tree.show_to(f"{test} {status}", self.limits.of(test)), str):
            return True
        return self.status_of(test) != 0

    def status_of(self, test):
        limit = self.limits.of(test)
        status = self.tree.show_to(test, limit)
        if status is None and self.limits.again(test) > limit:
            status = self.tree.show_to(test, self.limits.of(test))
        return status
