#include "command_line.h"

#include <CLI/CLI.hpp>
#include <map>

#include "commands.h"
#include "diagnostics.h"
#include "library_session.h"

namespace posctl {
namespace {

// The library's reader, writer and parser recurse once per level; past some
// ten thousand levels they run out of the default stack.
constexpr size_t kLargestMaxDepth = 5000;

const std::map<std::string, Format> kInputFormats = {
    {"notation", Format::kNotation}, {"typea", Format::kTypeA}, {"json", Format::kJson}};
const std::map<std::string, Format> kOutputFormats = {{"typea", Format::kTypeA},
                                                      {"json", Format::kJson}};

void AddInputOptions(CLI::App* command, InputOptions* options, bool withFormat) {
  command->add_option("FILE", options->file, "Input file, or - for standard input")
      ->capture_default_str();
  if (withFormat) {
    command
        ->add_option("--from", options->from,
                     "Input format: notation, typea or json (default: from the extension "
                     ".pos, .typea or .json, else from the content)")
        ->transform(CLI::CheckedTransformer(kInputFormats));
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
  CLI::App* convertCommand =
      app.add_subcommand("convert", "Convert notation, TypeA or JSON to TypeA (default) or JSON");
  AddInputOptions(convertCommand, &convert.input, true);
  convertCommand->add_option("--to", convert.to, "Output format: typea or json")
      ->transform(CLI::CheckedTransformer(kOutputFormats));
  convertCommand->add_option("-o,--output", convert.output,
                             "Output file (default: standard output)");
  convertCommand->add_flag("--compact", convert.compact, "Write JSON on one line");

  GetOptions get;
  CLI::App* getCommand = app.add_subcommand(
      "get", "Print the value at a DeepGet address such as display.fonts[0].name");
  getCommand->add_option("ADDRESS", get.address, "Address: .key and [n] steps")->required();
  AddInputOptions(getCommand, &get.input, true);
  getCommand->add_flag("--json", get.json, "Print JSON instead of TypeA");
  getCommand->add_flag("--compact", get.compact, "With --json, on one line");

  CatOptions cat;
  CLI::App* catCommand =
      app.add_subcommand("cat", "Print every object of a file of TypeA streams, one per line");
  AddInputOptions(catCommand, &cat.input, false);
  catCommand->add_flag("--json", cat.json, "Print JSON instead of TypeA");
  catCommand->add_flag("--compact", cat.compact, "With --json, one line per object");

  InputOptions check;
  CLI::App* checkCommand =
      app.add_subcommand("check", "Say whether the input is well formed, and where it is not");
  AddInputOptions(checkCommand, &check, true);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const int status = app.exit(error);
    return status == 0 ? kExitOk : kExitUsage;
  }
  if (convertCommand->parsed()) return RunConvert(convert);
  if (getCommand->parsed()) return RunGet(get);
  if (catCommand->parsed()) return RunCat(cat);
  return RunCheck(check);
}

}  // namespace posctl
