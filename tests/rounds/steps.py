"""What happens to a host in its life: each step is drawn by itself, does something, and looks at what must hold."""
import collections
import copy
import glob
import json
import os
import random
import shutil
import subprocess

import jsonschema
import model
import old
from damages import DAMAGES
from model import PLACES, Agent

SERVERS = ("http://alpha.example", "http://beta.example", "https://gamma.example:8083")
XML = "/tmp/.qdn-agent-install-config.xml"
# What a configuration says on standard error when all is well: that the installed agent's values count.
HARMLESS = "the installed agent has"
STEPS = ("install", "configure", "configure", "move", "answer", "clean", "upgrade", "reinstall", "damage", "full_disk",
         "kill", "kill", "kill", "power_cut", "power_cut", "reboot")

# kind: what it is measured as; after: the agent that it leaves, or None.
Command = collections.namedtuple("Command", "kind where arguments answers xml after")


class Broken(Exception):
    """Something does not hold."""


class Life:
    """The life of one host. What happens in it depends on its seed alone, but for the moments at which runs are killed."""

    def __init__(self, seed, project, program, host, disk):
        self.seed, self.project = seed, project
        self.program, self.host, self.disk = program, host, disk
        self.agent = None
        self.environment = {"QDN_INSTALL_START": "never"}
        self.story = []
        self.made = 0
        self.errors = ""
        self.untouched = {}
        self.draw = random.Random(seed)
        with open(project + "/docs/schema/status-1.json", encoding="utf-8") as file:
            self.schema = jsonschema.Draft202012Validator(json.load(file))

    def begin(self):
        self.disk.insert()
        self.host.settle()

    def end(self):
        self.disk.remove()
        self.host.clear()

    def live(self, steps):
        self.begin()
        for number in range(1, steps + 1):
            self.draw = random.Random(f"{self.seed}/{number}")  # what one step draws does not change what the next one does
            step = self.draw.choice(STEPS)
            self.tell(f"step {number}: {step}, with {self.agent or 'no agent'}", indent="")
            getattr(self, step)()
        self.end()

    def rehearse(self):
        """Each kind of command once: how long they take."""
        self.begin()
        for way in (self.configuration, self.questions):
            self.perform(way(PLACES[0], SERVERS[0]))
            self.perform(way(PLACES[0], SERVERS[1]))
            self.perform(way(PLACES[1], SERVERS[1]))
            self.perform(self.reinstallation())
            self.perform(self.cleaning())
        for place in PLACES[:2]:
            self.given_an_old_agent(PLACES[0], "6.1")
            self.perform(self.configuration(place, old.SERVER))
        self.end()

    def tell(self, line, indent="    "):
        self.story.append(indent + line)

    # --- Commands

    def configuration(self, where, server):
        """Without questions, by an XML file."""
        return Command(self.kind("configure", where), where, ["-configure", "-noimode", "-dir", where], "", server,
                       self.configured(where, server, [3, 5]))

    def questions(self, where, server):
        return Command(self.kind("answer", where), where, ["-iconfigure", "-dir", where],
                       f"{server}\n{where}\n" + "\n" * 20, None, self.configured(where, server, [2, 3, 5]))

    def reinstallation(self):
        """The package is laid down anew, and nobody says again what was configured."""
        where = self.agent.where
        return Command("reinstall", where, ["-configure", "-noimode", "-dir", where], "", None,
                       self.agent.configured(where, self.agent.server))

    def cleaning(self):
        return Command("clean", None, ["-clean", self.agent.where], "", None, None)

    def kind(self, how, where):
        if self.agent is None:
            return how + " first"
        version = "old agent" if self.agent.is_old else "agent"
        return f"{how} {version} {'in place' if where == self.agent.where else 'elsewhere'}"

    def configured(self, where, server, levels):
        if self.agent is None:
            return Agent(where, server, levels)
        return self.agent.configured(where, server)

    def any_command(self):
        """One that may be disturbed."""
        where, server, what = self.draw.choice(PLACES), self.draw.choice(SERVERS), self.draw.random()
        is_moved, version = self.draw.random() < 0.4, self.draw.choice(("6.0SP2", "6.1", "6.2"))
        if what < 0.2:
            self.given_an_old_agent(self.draw.choice(PLACES), version)
        elif self.agent is None or what < 0.5:
            where = where if is_moved or self.agent is None else self.agent.where
        elif what < 0.7:
            return self.cleaning()
        elif what < 0.8:
            return self.reinstallation()
        else:
            return self.questions(where, server)
        return self.configuration(where, self.draw.choice((server, self.agent.server if self.agent else server)))

    # --- Runs

    def prepare(self, command):
        self.tell(f"{command.kind}: {' '.join(command.arguments)}, {command.after}")
        if command.where:
            subprocess.run([self.project + "/package/lay-down", command.where, self.program.path], check=True)
        if command.xml:
            self.write_xml(command.where, command.xml)
        self.untouched = self.host.agents()

    @staticmethod
    def write_xml(where, server):
        with open(XML, "w", encoding="utf-8") as file:
            file.write(f"""<KSAgentConfiguration>
  <KSName>{server}</KSName>
  <Settings Start="no" RunLevel="rc3;rc5" StartupOnBoot="yes" AllowNonRoot="yes" Upgrade="yes">
    <InstallDir>{where}</InstallDir>
  </Settings>
</KSAgentConfiguration>
""")
        os.chmod(XML, 0o600)

    def run(self, command):
        run = self.program.call(command.kind, command.arguments, self.environment, command.answers)
        self.errors = run.errors
        return run

    def run_and_kill(self, command):
        moment = self.draw.uniform(0, 1.3)
        run = self.program.call_and_kill(command.kind, moment, command.arguments, self.environment, command.answers)
        self.errors = run.errors
        self.tell(f"killed after {moment:.2f} of its time, ended with {run.status}")
        return run

    def perform(self, command, again=False):
        """From its beginning to its end, after which all that it promises must hold."""
        former = self.agent.conf if self.agent else None
        self.prepare(command)
        run = self.run(command)
        self.expect("the run", model.differ("the status", run.status, 0))
        if not again:
            self.expect("standard error", [line for line in run.errors.splitlines() if HARMLESS not in line])
        if command.after is None:
            self.remove_empty_directories(again)
        self.know(command.after)
        self.expect_complete()
        if command.after and former and not again:
            saved = self.agent.conf_file + ".old"
            self.expect("the saved configuration",
                        model.differ("the hash of client.conf.old", model.sha256(model.read(saved)), model.sha256(former)))
        self.let_the_agent_live()

    def remove_empty_directories(self, again):
        """A clean that was stopped behind its last file has left the directories of the agent; the administrator removes
        them."""
        left = [path for place in PLACES for path in glob.glob(place)]
        files = [path for path in model.files_of_life() if not path.startswith(model.LIFE + "/neighbour/")]
        self.expect("the clean", [f"{path} is left" for path in files + (left if not again else [])])
        for path in left:
            shutil.rmtree(path)

    def know(self, agent):
        """The agent's own environment names its configuration to whatever runs in it."""
        self.agent = agent
        self.environment.pop("QDNCLIENT_CONFIG_FILE", None)
        if agent is not None:
            self.environment["QDNCLIENT_CONFIG_FILE"] = agent.conf_file

    def let_the_agent_live(self):
        """The agent's own part of a life: it makes an identifier where there is none, and gets more data. Its
        administrator changes values."""
        if self.agent is None:
            return
        self.made += 1
        agent, name = self.agent, f"{self.seed}-{self.made}"
        if agent.identifier is None:
            agent.identifier = f"{{{self.seed & 0xffffffff:08X}-{self.made:04X}-1111-2222-333344445555}}"
            write(agent.identifier_file, agent.identifier.encode() + b"\nnull")
        for path in (f"queue/{name}.kse", f"tasks/{name}.kst", f"packages/{{{name}}}/file", f"swd/{name}/delivery"):
            if len([other for other in agent.data if other[:2] == path[:2]]) < 4:
                contents = f"{path} {self.draw.random()}\n".encode() * self.draw.randrange(1, 200)
                agent.data[path] = model.sha256(contents)
                write(f"{agent.where}/var/{path}", contents)
        self.change_value("Configuration", "debug_file_size", str(self.draw.randrange(1000, 9999)))
        self.change_value("Client Details", "SerialNumber", f"SN =  {name} Z\374rich")
        agent.conf = model.read(agent.conf_file)
        self.disk.flush()

    def change_value(self, section, key, value):
        self.agent.values[section, key] = value
        lines = model.read(self.agent.conf_file).decode("latin-1").split("\n")
        [number] = [number for number, line in enumerate(lines) if line.startswith(key + "=")]
        lines[number] = f"{key}={value}"
        write(self.agent.conf_file, "\n".join(lines).encode("latin-1"))

    # --- What must hold

    def expect(self, what, faults):
        faults = list(faults)
        if faults:
            raise Broken("\n".join([f"{what}:", *(f"  {fault}" for fault in faults)]))

    def status(self, *place):
        run = self.program.call("status", ["-status", "-json", *place], self.environment)
        told = json.loads(run.output)
        self.expect("-status", [error.message for error in self.schema.iter_errors(told)])
        self.expect("-status", model.differ("the status of the run", run.status, told["status"]))
        return told

    def look(self):
        """Asks for the state of each place; of the agent's as the agent's environment names it. What -status tells is true,
        and nothing of the host's has been touched by that or by the run before it."""
        named = self.environment.get("QDNCLIENT_CONFIG_FILE")
        named = named if named and os.path.exists(named) else ""
        state = {place: self.status(*([] if named.startswith(place + "/") else [place])) for place in PLACES}
        self.expect("the host", self.host.differences())
        for place in PLACES:
            self.expect("-status", model.untruths(state[place], place))
        return state

    def expect_complete(self):
        self.expect("the host and its agent", model.faults_of(self.agent, self.look()))
        self.expect("left behind", model.left_behind() + self.host.left_behind() + glob.glob(XML))

    def expect_half_way(self, command, is_marked=True):
        state = self.look()
        changed = sorted({path for path, _ in self.host.agents().items() ^ self.untouched.items()})
        self.tell(f"{len(changed)} paths are not as before {changed[:3]}, and {self.in_short(state)}")
        is_untouched = not changed
        if command.after is None:
            self.expect("the host", model.faults_half_cleaned(self.agent, is_untouched, state))
        else:
            self.expect("the host", model.faults_half_way(self.agent, command.after, is_untouched, state, is_marked))
            self.call_the_new_agent_where_it_is(command.after, state[command.after.where])

    def call_the_new_agent_where_it_is(self, after, told):
        """A run that had done everything before it was stopped has left an agent, and its environment names that one."""
        if told["installed"] and not model.is_unfinished(told):
            self.environment["QDNCLIENT_CONFIG_FILE"] = after.conf_file

    @staticmethod
    def in_short(state):
        return ", ".join(f"{place}: {told['status']}" + " unfinished" * model.is_unfinished(told)
                         for place, told in state.items())

    # --- The steps

    def place(self):
        """The agent's, or any."""
        drawn = self.draw.choice(PLACES)
        return self.agent.where if self.agent else drawn

    def install(self):
        self.clean()
        self.perform(self.configuration(self.draw.choice(PLACES), self.draw.choice(SERVERS)))

    def configure(self):
        self.perform(self.configuration(self.place(), self.draw.choice(SERVERS)))

    def move(self):
        self.perform(self.configuration(self.draw.choice(PLACES), self.draw.choice(SERVERS)))

    def answer(self):
        self.perform(self.questions(self.place(), self.draw.choice(SERVERS)))

    def clean(self):
        if self.agent:
            self.perform(self.cleaning())

    def reinstall(self):
        if self.agent:
            self.perform(self.reinstallation())

    def upgrade(self):
        """An older agent was there, and is upgraded where it is or to another place."""
        self.given_an_old_agent(self.draw.choice(PLACES), self.draw.choice(("6.0SP2", "6.1", "6.2")))
        self.perform(self.configuration(self.draw.choice(PLACES), self.draw.choice((*SERVERS, old.SERVER, old.SERVER))))

    def given_an_old_agent(self, where, version):
        self.clean()
        self.tell(f"{version} at {where}")
        agent = old.given_an_old_agent(self.project, where, version)
        self.know(agent)
        self.disk.flush()

    def damage(self):
        """It is named, and nothing else is; configuring again mends it."""
        damage = self.draw.choice(DAMAGES)
        if not self.agent:
            return
        self.tell(damage.__name__)
        agent = copy.deepcopy(self.agent)
        named = damage(agent)
        told = self.look()[agent.where]
        self.expect("the damage", model.faults_of_told(agent, told, status=1, differences=[named]))
        self.agent.data = agent.data
        self.configure()

    def full_disk(self):
        """The run ends one way or the other, and the next one, with room again, completes."""
        command = self.configuration(self.place(), self.draw.choice(SERVERS))
        self.prepare(command)
        self.disk.fill(left=self.draw.randrange(32768))
        run = self.run(command)
        self.tell(f"ended with {run.status} on a full disk: {run.errors}")
        self.expect_half_way(command, is_marked=run.status != 0)
        self.disk.empty()
        self.expect("a full disk", model.differ("the status", run.status, 1 if "ERROR: " in run.errors else 0))
        self.expect("left behind", model.left_behind() * (run.status == 0) + self.host.left_behind())
        self.perform(command, again=True)

    def kill(self):
        command = self.any_command()
        self.prepare(command)
        self.run_and_kill(command)
        self.expect_half_way(command)
        self.perform(command, again=True)

    def power_cut(self):
        """During a run, or right behind it."""
        command = self.any_command()
        self.prepare(command)
        self.disk.flush()
        self.draw.choice((self.run, self.run_and_kill))(command)
        if self.disk.has_power_to_cut:
            self.disk.cut_the_power()
            self.forget_what_is_in_memory()
        self.expect_half_way(command, is_marked=False)
        self.perform(command, again=True)

    def reboot(self):
        self.disk.flush()
        self.forget_what_is_in_memory()
        if not (self.agent and self.agent.is_old):
            self.expect_complete()

    def forget_what_is_in_memory(self):
        for path in (*glob.glob("/tmp/.zorvane*"), *glob.glob("/tmp/.qdn-*"), *glob.glob("/run/qdn-configure.lock")):
            if os.path.isdir(path):
                shutil.rmtree(path)
            else:
                os.unlink(path)
            self.untouched.pop(path, None)  # it is not a run that has removed it


def write(path, contents):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(contents)
