"""What may happen to a configured agent beside any run. Each damage tells, as action and path, what -status must name, and
changes in the model what has changed for good."""
import os
import shutil

import model


def remove_link(_):
    os.unlink("/usr/bin/qdn-monitor")
    return "create", "/usr/bin/qdn-monitor"


def open_environment(agent):
    os.chmod(agent.where + "/bin/qdn-env", 0o777)
    return "change", agent.where + "/bin/qdn-env"


def empty_environment(agent):
    os.truncate(agent.where + "/bin/qdn-env", 0)
    return "replace", agent.where + "/bin/qdn-env"


def remove_control_script(agent):
    os.unlink(agent.where + "/bin/rcscript")
    return "create", agent.where + "/bin/rcscript"


def remove_service(_):
    os.unlink(model.SERVICE)
    return "create", model.SERVICE


def unlink_level(agent):
    agent.levels = [level for level in agent.levels if level != 3]
    os.unlink("/etc/rc3.d/S99zorvane")
    return "create", "/etc/rc3.d/S99zorvane"


def open_configuration(agent):
    os.chmod(agent.conf_file, 0o666)
    return "change", agent.conf_file


def remove_tasks(agent):
    shutil.rmtree(agent.where + "/var/tasks")
    agent.data = {path: digest for path, digest in agent.data.items() if not path.startswith("tasks/")}
    return "create", agent.where + "/var/tasks"


DAMAGES = (remove_link, open_environment, empty_environment, remove_control_script, remove_service, unlink_level,
           open_configuration, remove_tasks)
