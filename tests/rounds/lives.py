"""Lets hosts live, one after the other: lives.py --seed N --lives N --steps N [--thorough] --counts FILE. Runs in a
session on a private machine. FILE is given what was counted; ends 0 when everything held. With --thorough it fails, too,
where no power was cut, or no run killed."""
import argparse
import os
import sys

from disk import Disk
from host import Host
from model import LIFE
from runs import Program
from steps import Broken, Life

PROJECT = os.path.realpath(os.path.dirname(os.path.abspath(__file__)) + "/../..")
DESK = "/run/session"


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("seed", "lives", "steps"):
        parser.add_argument("--" + name, type=int, required=True)
    parser.add_argument("--thorough", action="store_true")
    parser.add_argument("--counts", required=True)
    return parser.parse_args()


def live(life, steps):
    """True if all of a life held."""
    try:
        life.live(steps)
        return True
    except Exception as broken:  # pylint: disable=broad-except
        print(*life.story[-25:], broken, sep="\n")
        print(f"standard error of the last run:\n{life.errors}")
        print(f"To live this life again: SEED={life.seed} LIVES=1 STEPS={steps} bats tests/rounds", flush=True)
        if not isinstance(broken, Broken):
            raise
        return False


def main():
    asked = arguments()
    program = Program(f"{PROJECT}/build/{os.environ['QDN_BUILD']}/qdn-configure.bin")
    host, disk = Host(PROJECT), Disk(LIFE, DESK)
    Life(0, PROJECT, program, host, disk).rehearse()
    for seed in range(asked.seed, asked.seed + asked.lives):
        if not live(Life(seed, PROJECT, program, host, disk), asked.steps):
            return 1
    counts = {"lives": asked.lives, "killed": program.killed, "ended": program.ended, "cuts": disk.cuts}
    with open(asked.counts, "w", encoding="utf-8") as file:
        file.writelines(f"# {number} {name}\n" for name, number in counts.items())
    if asked.thorough and not (disk.cuts and program.killed):
        print(f"{disk.cuts} power cuts and {program.killed} killed runs: there are no loop devices, or too few lives")
        return 1
    return 0


sys.exit(main())
