# The stories of attacks: sessions like those of the scenarios, with what attackers do. A file begins with `load support`.
load ../scenarios/support
load ../scenarios/old-agent
load ../scenarios/removal
load attackers
