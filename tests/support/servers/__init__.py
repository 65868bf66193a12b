"""The parts of servers.py: real servers on free loopback ports."""
