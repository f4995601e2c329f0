#include "command_line.h"

#include <CLI/CLI.hpp>

#include "commands.h"
#include "diagnostics.h"
#include "library_session.h"

namespace posctl {
namespace {

// The library's reader, writer and parser recurse once per level; past some
// ten thousand levels they run out of the default stack.
constexpr size_t kLargestMaxDepth = 5000;

// Format names as the user types them; turned into Format after parsing.
struct FormatNames {
  std::string from;
  std::string to = "typea";
};

void AddInputOptions(CLI::App* command, InputOptions* options, std::string* from) {
  command->add_option("FILE", options->file, "Input file, or - for standard input")
      ->capture_default_str();
  if (from != nullptr) {
    command
        ->add_option("--from", *from,
                     "Input format (default: from the extension .pos, .typea or .json, else "
                     "from the content)")
        ->check(CLI::IsMember({"notation", "typea", "json"}))
        ->option_text("notation|typea|json");
    command->add_option("--null-as", options->nullAs,
                        "Read JSON null as this string (null is refused otherwise)");
  }
  command
      ->add_option("--max-depth", options->maxDepth,
                   "Refuse input nested deeper than this many arrays and dictionaries")
      ->capture_default_str()
      ->check(CLI::Range(size_t{1}, kLargestMaxDepth));
}

}  // namespace

int RunCommandLine(int argc, char** argv) {
  CLI::App app(
      "posctl: converts, reads and checks POS objects through libMOXUtils.\n"
      "Formats: text notation (.pos), TypeA (.typea), JSON (.json).",
      "posctl");
  app.set_version_flag("--version", [] {
    return std::string("posctl " POSCTL_VERSION "\nlibMOXUtils ") + DescribeLibraryVersion();
  });
  app.require_subcommand(1);
  app.footer("Exit status: 0 success, 1 bad input, 2 bad usage, 3 libMOXUtils can't be loaded.");

  ConvertOptions convert;
  FormatNames convertFormats;
  CLI::App* convertCommand =
      app.add_subcommand("convert", "Convert notation, TypeA or JSON to TypeA (default) or JSON");
  AddInputOptions(convertCommand, &convert.input, &convertFormats.from);
  convertCommand->add_option("--to", convertFormats.to, "Output format (default: typea)")
      ->check(CLI::IsMember({"typea", "json"}))
      ->option_text("typea|json");
  convertCommand->add_option("-o,--output", convert.output,
                             "Output file (default: standard output)");
  convertCommand->add_flag("--compact", convert.compact, "Write JSON on one line");

  GetOptions get;
  FormatNames getFormats;
  CLI::App* getCommand = app.add_subcommand(
      "get", "Print the value at a DeepGet address such as display.fonts[0].name");
  getCommand->add_option("ADDRESS", get.address, "Address: .key and [n] steps")->required();
  AddInputOptions(getCommand, &get.input, &getFormats.from);
  getCommand->add_flag("--json", get.json, "Print JSON instead of TypeA");
  getCommand->add_flag("--compact", get.compact, "With --json, on one line");

  CatOptions cat;
  CLI::App* catCommand =
      app.add_subcommand("cat", "Print every object of a file of TypeA streams, one per line");
  AddInputOptions(catCommand, &cat.input, nullptr);
  catCommand->add_flag("--json", cat.json, "Print JSON instead of TypeA");
  catCommand->add_flag("--compact", cat.compact, "With --json, one line per object");

  InputOptions check;
  FormatNames checkFormats;
  CLI::App* checkCommand =
      app.add_subcommand("check", "Say whether the input is well formed, and where it is not");
  AddInputOptions(checkCommand, &check, &checkFormats.from);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const int status = app.exit(error);
    return status == 0 ? kExitOk : kExitUsage;
  }
  if (convertCommand->parsed()) {
    convert.input.from = ParseFormatName(convertFormats.from);
    convert.to = *ParseFormatName(convertFormats.to);
    return RunConvert(convert);
  }
  if (getCommand->parsed()) {
    get.input.from = ParseFormatName(getFormats.from);
    return RunGet(get);
  }
  if (catCommand->parsed()) return RunCat(cat);
  check.from = ParseFormatName(checkFormats.from);
  return RunCheck(check);
}

}  // namespace posctl
