"""A desktop whose agent asks for an administrator's password, and what came of it."""

import os

from session import NOTES

NOTE = NOTES + "/authentications"


def asked(agent, program, *answer):
    """The command line that runs a program on such a desktop; without an answer, by a dialog."""
    return [agent, "--note", NOTE, *answer, program]


def answers():
    """How each authentication ended: "granted", "denied" or "cancelled"; "asked" if it did not."""
    if not os.path.exists(NOTE):
        return []
    with open(NOTE, encoding="ascii") as file:
        return file.read().split()
