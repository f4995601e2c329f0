// posctl: the command-line tool of libMOXUtils.
#include <cstdio>
#include <new>

#include "command_line.h"
#include "diagnostics.h"

int main(int argc, char** argv) {
  try {
    return posctl::RunCommandLine(argc, argv);
  } catch (const posctl::ToolError& error) {
    std::fflush(stdout);
    posctl::PrintError(error);
    return error.status();
  } catch (const std::bad_alloc&) {
    std::fputs("posctl: error: out of memory\n", stderr);
    return posctl::kExitBadInput;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "posctl: error: %s\n", error.what());
    return posctl::kExitBadInput;
  }
}
