#include "command_line.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstring>

#include "commands.h"
#include "diagnostics.h"
#include "library_session.h"

namespace posctl {
namespace {

// The library's reader, writer and parser recurse once per level; past some
// ten thousand levels they refuse the input for want of the default stack.
constexpr size_t kLargestMaxDepth = 5000;

constexpr const char* kCommands[] = {"convert",  "get",          "keys",   "type",
                                     "set",      "delete",       "cat",    "check",
                                     "validate", "check-schema", "explain"};

// More threads than this gain nothing on any machine posctl runs on, and a
// typo such as 1000 would only cost memory.
constexpr size_t kLargestJobs = 256;

std::string CommandList() {
  std::string list;
  for (const char* command : kCommands) list += (list.empty() ? "" : ", ") + std::string(command);
  return list;
}

// The first argument that isn't an option names the command. Unknown
// commands are caught here, where posctl can say which ones there are.
int CheckCommandName(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const char* arg = argv[i];
    if (std::strcmp(arg, "--help") == 0 || std::strcmp(arg, "-h") == 0 ||
        std::strcmp(arg, "--version") == 0) {
      return kExitOk;
    }
    if (arg[0] == '-') continue;
    for (const char* command : kCommands) {
      if (std::strcmp(arg, command) == 0) return kExitOk;
    }
    std::fprintf(stderr, "posctl: error: unknown command '%s'; the commands are %s\n",
                 Printable(arg).c_str(), CommandList().c_str());
    return kExitUsage;
  }
  std::fprintf(stderr, "posctl: error: no command given; the commands are %s\n",
               CommandList().c_str());
  return kExitUsage;
}

// Format names as the user types them; turned into Format after parsing.
struct FormatNames {
  std::string from;
  std::string to = "typea";
};

void AddFileOption(CLI::App* command, InputOptions* options) {
  command->add_option("FILE", options->file, "Input file, or - for standard input")
      ->capture_default_str();
}

void AddReadOptions(CLI::App* command, InputOptions* options, std::string* from, bool object) {
  command
      ->add_option("--from", *from,
                   "Input format (default: from the extension .pos, .typea or .json, else "
                   "from the content)")
      ->check(CLI::IsMember({"notation", "typea", "json"}))
      ->option_text("notation|typea|json");
  command->add_option(
      "--null-as", options->nullAs,
      "Read JSON null as this string where it can't stay null (else it is refused)");
  command
      ->add_option("--max-depth", options->maxDepth,
                   "Refuse input nested deeper than this many arrays and dictionaries")
      ->capture_default_str()
      ->check(CLI::Range(size_t{1}, kLargestMaxDepth));
  if (object) {
    command->add_option("--object", options->object,
                        "Which TypeA stream of a file of several, counted from 0");
  }
}

void AddAddressOptions(CLI::App* command, AddressOptions* at) {
  command->add_flag("-p,--pointer", at->pointer,
                    "The address is a JSON Pointer such as /display/fonts/0/name");
}

// keys and type: "[ADDRESS] FILE", where one argument alone is the file.
struct InspectArguments {
  std::string first;
  std::optional<std::string> file;
  AddressOptions at;
};

void SplitInspectArguments(const InspectArguments& args, InspectOptions* options) {
  options->input.file = args.file.value_or(args.first);
  if (args.file) {
    options->at = args.at;
    options->at->address = args.first;
  }
}

}  // namespace

int RunCommandLine(int argc, char** argv) {
  if (const int status = CheckCommandName(argc, argv); status != kExitOk) return status;
  CLI::App app(
      "posctl: reads, edits, converts and checks POS objects through libMOXUtils.\n"
      "Formats: text notation (.pos), TypeA (.typea), JSON (.json).",
      "posctl");
  app.set_version_flag("--version", [] {
    return std::string("posctl " POSCTL_VERSION "\nlibMOXUtils ") + DescribeLibraryVersion();
  });
  app.require_subcommand(1);
  app.fallthrough();
  bool verbose = false;
  app.add_flag("-v,--verbose", verbose, "Show what the library reports, in its own words");
  app.footer(
      "Addresses: DeepGet addresses such as display.fonts[0].name, or with -p JSON Pointers "
      "such as /display/fonts/0/name.\n"
      "Exit status: 0 success, 1 bad input, 2 bad usage, 3 libMOXUtils can't be loaded.");

  ConvertOptions convert;
  FormatNames convertFormats;
  CLI::App* convertCommand = app.add_subcommand(
      "convert", "Convert notation, TypeA or JSON to TypeA (default), JSON or notation");
  AddFileOption(convertCommand, &convert.input);
  AddReadOptions(convertCommand, &convert.input, &convertFormats.from, true);
  convertCommand->add_option("--to", convertFormats.to, "Output format (default: typea)")
      ->check(CLI::IsMember({"typea", "json", "notation"}))
      ->option_text("typea|json|notation");
  convertCommand->add_option("-o,--output", convert.output,
                             "Output file, or - for standard output (the default)");
  convertCommand->add_flag("--compact", convert.compact, "Write JSON on one line");

  GetOptions get;
  FormatNames getFormats;
  CLI::App* getCommand = app.add_subcommand("get", "Print the value at an address");
  getCommand->add_option("ADDRESS", get.at.address, "Where the value is")->required();
  AddFileOption(getCommand, &get.input);
  AddReadOptions(getCommand, &get.input, &getFormats.from, true);
  AddAddressOptions(getCommand, &get.at);
  CLI::Option* json = getCommand->add_flag("--json", get.json, "Print JSON instead of TypeA");
  getCommand->add_flag("--compact", get.compact, "With --json, on one line");
  getCommand
      ->add_flag("--raw", get.raw,
                 "Print a string's text alone (or a number's digits), for shell scripts")
      ->excludes(json);

  InspectOptions keys;
  InspectOptions type;
  InspectArguments keysArgs;
  InspectArguments typeArgs;
  FormatNames keysFormats;
  FormatNames typeFormats;
  CLI::App* keysCommand = app.add_subcommand(
      "keys", "List the keys of a dictionary in order, or the indices of an array");
  CLI::App* typeCommand = app.add_subcommand(
      "type", "Say what the value is, with its count of members, length or size");
  for (auto [command, options, args, formats] :
       {std::tuple{keysCommand, &keys, &keysArgs, &keysFormats},
        std::tuple{typeCommand, &type, &typeArgs, &typeFormats}}) {
    command
        ->add_option("ADDRESS", args->first,
                     "Where the value is; alone, it is the FILE, and the value the top level")
        ->required();
    command->add_option("FILE", args->file, "Input file, or - for standard input");
    AddReadOptions(command, &options->input, &formats->from, true);
    AddAddressOptions(command, &args->at);
  }

  SetOptions set;
  FormatNames setFormats;
  CLI::App* setCommand =
      app.add_subcommand("set", "Put a value at an address, and write the file back");
  setCommand->add_option("ADDRESS", set.at.address, "Where the value goes")->required();
  setCommand
      ->add_option("VALUE", set.value,
                   "The value, in text notation: 42, name, (two words), <k v>, [1 2]")
      ->required();
  setCommand
      ->add_option("FILE", set.input.file, "The file to edit, or - (result on standard output)")
      ->required();
  AddReadOptions(setCommand, &set.input, &setFormats.from, true);
  AddAddressOptions(setCommand, &set.at);
  setCommand->add_flag("--json", set.valueIsJson, "VALUE is JSON: true, null, {\"k\": [1, 2]}");
  setCommand->add_flag("--parents", set.parents, "Make missing dictionaries on the way");
  setCommand->add_option("-o,--output", set.output,
                         "Write the result here instead of back to FILE (- for standard output)");

  DeleteOptions del;
  FormatNames deleteFormats;
  CLI::App* deleteCommand =
      app.add_subcommand("delete", "Remove the value at an address, and write the file back");
  deleteCommand->add_option("ADDRESS", del.at.address, "What to remove")->required();
  deleteCommand
      ->add_option("FILE", del.input.file, "The file to edit, or - (result on standard output)")
      ->required();
  AddReadOptions(deleteCommand, &del.input, &deleteFormats.from, true);
  AddAddressOptions(deleteCommand, &del.at);
  deleteCommand->add_option(
      "-o,--output", del.output,
      "Write the result here instead of back to FILE (- for standard output)");

  CatOptions cat;
  CLI::App* catCommand =
      app.add_subcommand("cat", "Print every object of a file of TypeA streams, one per line");
  AddFileOption(catCommand, &cat.input);
  catCommand
      ->add_option("--max-depth", cat.input.maxDepth,
                   "Refuse input nested deeper than this many arrays and dictionaries")
      ->capture_default_str()
      ->check(CLI::Range(size_t{1}, kLargestMaxDepth));
  catCommand->add_flag("--json", cat.json, "Print JSON instead of TypeA");
  catCommand->add_flag("--compact", cat.compact, "With --json, one line per object");

  CheckOptions check;
  FormatNames checkFormats;
  bool quiet = false;
  CLI::App* checkCommand =
      app.add_subcommand("check", "Say whether each input is well formed, and where it is not");
  checkCommand->add_option("FILE", check.files, "Input files, or - for standard input");
  AddReadOptions(checkCommand, &check.input, &checkFormats.from, false);
  checkCommand->add_flag("-q,--quiet", quiet, "Print nothing; the exit status says it all");

  ValidateOptions validate;
  FormatNames validateFormats;
  CLI::App* validateCommand = app.add_subcommand(
      "validate", "Validate files against a type of a schema, each fault shown where it is");
  validateCommand
      ->add_option("-s,--schema", validate.schema, "The schema, in text notation, TypeA or JSON")
      ->required();
  validateCommand
      ->add_option("-t,--type", validate.type,
                   "The type the files must have: a built-in type or a key of the schema")
      ->required();
  validateCommand->add_option("-j,--jobs", validate.jobs, "Validate this many files at a time")
      ->capture_default_str()
      ->check(CLI::Range(size_t{1}, kLargestJobs));
  validateCommand->add_option("FILE", validate.files, "Input files, or - for standard input")
      ->required();
  AddReadOptions(validateCommand, &validate.input, &validateFormats.from, false);

  CheckSchemaOptions checkSchema;
  CLI::App* checkSchemaCommand = app.add_subcommand(
      "check-schema", "Check a schema against the schema language, each fault shown where it is");
  checkSchemaCommand->add_option("SCHEMA", checkSchema.schema, "The schema file")->required();
  checkSchemaCommand->add_flag("--strict", checkSchema.strict,
                               "Also warn of definitions that can't mean what they say");
  checkSchemaCommand->add_flag("--raw", checkSchema.raw, "Print the library's lines as they come");
  checkSchemaCommand
      ->add_option("--max-depth", checkSchema.maxDepth,
                   "Refuse input nested deeper than this many arrays and dictionaries")
      ->capture_default_str()
      ->check(CLI::Range(size_t{1}, kLargestMaxDepth));

  ExplainOptions explain;
  CLI::App* explainCommand = app.add_subcommand(
      "explain", "Say what a value at an address must be under a type of a schema");
  explainCommand->add_option("SCHEMA", explain.schema, "The schema file")->required();
  explainCommand->add_option("TYPE", explain.type, "The type of the whole value")->required();
  explainCommand->add_option("ADDRESS", explain.at.address, "Where the value is")->required();
  AddAddressOptions(explainCommand, &explain.at);
  explainCommand
      ->add_option("--max-depth", explain.maxDepth,
                   "Refuse input nested deeper than this many arrays and dictionaries")
      ->capture_default_str()
      ->check(CLI::Range(size_t{1}, kLargestMaxDepth));

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      app.exit(error);
      return kExitOk;
    }
    std::string command = "posctl";
    for (CLI::App* sub : app.get_subcommands()) command += " " + sub->get_name();
    std::fprintf(stderr, "posctl: error: %s\nposctl: see '%s --help'\n", error.what(),
                 command.c_str());
    return kExitUsage;
  }
  LibrarySession::SetVerbose(verbose);
  SetQuiet(quiet);
  if (convertCommand->parsed()) {
    convert.input.from = ParseFormatName(convertFormats.from);
    convert.to = *ParseFormatName(convertFormats.to);
    return RunConvert(convert);
  }
  if (getCommand->parsed()) {
    get.input.from = ParseFormatName(getFormats.from);
    return RunGet(get);
  }
  if (keysCommand->parsed()) {
    SplitInspectArguments(keysArgs, &keys);
    keys.input.from = ParseFormatName(keysFormats.from);
    return RunKeys(keys);
  }
  if (typeCommand->parsed()) {
    SplitInspectArguments(typeArgs, &type);
    type.input.from = ParseFormatName(typeFormats.from);
    return RunType(type);
  }
  if (setCommand->parsed()) {
    set.input.from = ParseFormatName(setFormats.from);
    return RunSet(set);
  }
  if (deleteCommand->parsed()) {
    del.input.from = ParseFormatName(deleteFormats.from);
    return RunDelete(del);
  }
  if (catCommand->parsed()) return RunCat(cat);
  if (validateCommand->parsed()) {
    validate.input.from = ParseFormatName(validateFormats.from);
    return RunValidate(validate);
  }
  if (checkSchemaCommand->parsed()) return RunCheckSchema(checkSchema);
  if (explainCommand->parsed()) return RunExplain(explain);
  check.input.from = ParseFormatName(checkFormats.from);
  if (check.files.empty()) check.files.push_back("-");
  return RunCheck(check);
}

}  // namespace posctl
