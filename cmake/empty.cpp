// Keeps a subsystem library buildable while it has no sources of its own.
