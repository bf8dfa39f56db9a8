"""A line for each release."""

from surroundings.table import aligned

HEAD = ("release", "g++", "Qt", "Mesa", "warnings", "tests", "static checks", "film",
        "tests as root", "film as root")
# Where something was not tried, or has not come so far.
NOTHING = "-"


def static_checks(check):
    return NOTHING if check is None else check.static_checks or "not passed"


def counts(check):
    return str(check.counts or NOTHING) if check else NOTHING


def row(outcome):
    user, root = outcome.user, outcome.root
    return (outcome.release, *(outcome.versions.get(name, NOTHING) for name in HEAD[1:4]),
            str(len(user.warnings | root.warnings)), counts(user.check), static_checks(user.check),
            str(user.film or NOTHING), counts(root.check), str(root.film or NOTHING))


def table(outcomes):
    return aligned([HEAD, *(row(outcome) for outcome in outcomes)])
