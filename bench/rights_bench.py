"""Measures administrator rights: asking for them, using them, and the whole uninstall with them.

Runs as the superuser of a private world with polkit; its arguments are the program that times the
authorization service, the one that runs the uninstall without windows, and the desktop agent.
"""

import os
import statistics
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../tests/desktop"))

from administration import Administration
from session import UID, USER, as_user
from uninstall_bench import measure, set_up

ROUNDS = 7
FOLDER = "/Library"
ADMINISTRATOR = os.environ["WORLD_ADMINISTRATOR"]
PASSWORD = os.environ["WORLD_ADMINISTRATOR_PASSWORD"]
# Lets the peer's tools run without a question, so that only the way is measured.
RULE = f"""polkit.addRule(function(action, subject) {{
    if (action.id == "org.freedesktop.policykit.exec" && subject.user == "{USER}")
        return polkit.Result.YES;
}});
"""


def figure(name, ours, unit, peer, theirs, aim):
    print(f"figure {name}: ours {ours:.2f} {unit}, peer {peer} {theirs:.2f} {unit}, "
          f"ratio {ours / theirs:.2f} (aim <= {aim:.2f})", flush=True)


def milliseconds(command):
    start = time.perf_counter()
    subprocess.run(as_user(command), check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    return (time.perf_counter() - start) * 1000


def pkexec_of_each():
    """Milliseconds of a tool by pkexec, beyond what starting any program takes here."""
    # A shell between, since pkexec serves no parent that is a machine's first process.
    command = ["sh", "-c", f"{{}} /usr/bin/touch -c {FOLDER}; :"]
    through = [milliseconds(command[:2] + [command[2].format("pkexec")]) for _ in range(20)]
    plain = [milliseconds(command[:2] + [command[2].format("env")]) for _ in range(20)]
    return statistics.median(through) - statistics.median(plain)


def asked(agent, *command):
    return [agent, "--note", f"/run/user/{UID}/note", "--user", ADMINISTRATOR,
            "--password", PASSWORD, *command]


def main():
    runs, uninstall, agent = sys.argv[1:]
    with open("/etc/polkit-1/rules.d/10-bench.rules", "w", encoding="ascii") as file:
        file.write(RULE)
    with Administration():
        timed = [subprocess.run(as_user([runs, ADMINISTRATOR, PASSWORD, FOLDER]), check=True,
                                capture_output=True, text=True).stdout.split()
                 for _ in range(ROUNDS)]
        asking, with_rights, without = (statistics.median(map(float, column))
                                        for column in zip(*timed))
        each = pkexec_of_each()
        authenticated = statistics.median(
            milliseconds(asked(agent, "sh", "-c", "pkexec --disable-internal-agent "
                               "/usr/local/libexec/quorvane/privileged-helper </dev/null; :"))
            for _ in range(ROUNDS))
        figure("authenticating-once", asking, "ms", "pkexec-with-an-agent", authenticated, 1.5)
        figure("tool-with-rights", with_rights, "us", "posix_spawn-without", without, 1.5)
        figure("tool-with-rights-against-pkexec", with_rights / 1000, "ms", "pkexec-each", each, 0.1)
        generations = iter(range(1_000_000))
        ours, plain = [], []
        for _ in range(ROUNDS):
            ours.append(measure(asked(agent, uninstall), set_up(0, next(generations), 0)))
            plain.append(measure(asked(agent, uninstall), set_up(0, next(generations))))
        figure("uninstall-with-rights", statistics.median(ours), "ms",
               "uninstall-without-and-asking", statistics.median(plain) + asking, 1.3)


if __name__ == "__main__":
    main()
