// posctl's command line: its commands, their options and their help.
#ifndef POSCTL_COMMAND_LINE_H_
#define POSCTL_COMMAND_LINE_H_

namespace posctl {

// Parses the arguments and runs the command they name. Returns the exit
// status; bad usage is 2, after CLI11's message on standard error.
int RunCommandLine(int argc, char** argv);

}  // namespace posctl

#endif  // POSCTL_COMMAND_LINE_H_
