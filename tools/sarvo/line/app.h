// The command line: subcommands, options, help, and the nearest name for what was mistyped.
#pragma once

namespace command {

// Runs the command; the result is the process's exit code.
int run(int argc, char **argv);

} // namespace command
