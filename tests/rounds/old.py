"""An agent of an earlier version, as the scenarios have it, and what an upgrade must keep of it."""
import copy
import subprocess

import model

SERVER = "https://old.example:8083"
# What every old agent had in its client.conf, and the new one has as well.
VALUES = {
    ("Configuration", "debug_file_size"): "777", ("Configuration", "debug_level"): "warning",
    ("Configuration", "syslog_level"): "error", ("Configuration", "tmpdir"): "/var/tmp",
    ("Configuration", "basicinv_use_resolv_conf"): "0", ("Configuration", "package_retry_delay"): "61",
    ("Configuration", "sub_agent_names"): "inventory;monitor", ("Configuration", "agent_roles"): "webserver",
    ("Client Transport", "ssl_verify_peer"): "yes", ("Client Transport", "ssl_ca_info"): "/etc/ssl/zorvane.pem",
    ("Event Queue", "level1-retries"): "5", ("Client Details", "SerialNumber"): "SN = 12  34",
    ("Client Details", "Location"): "Z\374rich", ("Class Servers", "zorvane.qdnntracker"): "Tracker",
    ("Class Servers", "inventory.server"): "Inventory", ("Inventory", "library"): "libinventory.so",
    ("Static Agents", "inventory.agent"): "no",
}


def given_an_old_agent(project, where, version):
    stories = project + "/tests/scenarios/old-agent.bash"
    subprocess.run(["bash", "-ec", 'source "$0"; given_an_old_agent "$@"', stories, version, where], check=True)
    package = "{11111111-2222-3333-4444-555555555555}"
    kept = ("queue/one.kse", "tasks/one.kst", f"packages/{package}/file", f"packages/{package}.qdn-pkg-xml")
    agent = model.Agent(where, SERVER, [3, 5], is_old=True, identifier="{0A1B2C3D-0000-1111-2222-333344445555}")
    agent.data = {path: model.sha256(model.read(f"{where}/var/{path}")) for path in kept}
    agent.data[f"packages/.qdn-pkg-snapshot-{package}"] = model.sha256(b"snapshot\n")
    agent.texts[f"packages/.qdn-pkg-xml-{package}"] = [b"Office &amp; tools", b"4711"]
    agent.values = copy.copy(VALUES)
    agent.values["Configuration", "sub_agent_paths"] = f"{where}/inventory;{where}/monitor"
    agent.conf = model.read(agent.conf_file)
    return agent
