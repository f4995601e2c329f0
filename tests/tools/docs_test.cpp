// The manual page and the bash completion against `posctl --help`: a command
// or option that one of them has and the help lacks, or the reverse, fails.
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/wait.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "posctl_runner.h"

namespace posctl_test {
namespace {

using Names = std::set<std::string>;

Names Matches(const std::string& text, const std::regex& pattern) {
  Names found;
  for (std::sregex_iterator it(text.begin(), text.end(), pattern), end; it != end; ++it) {
    found.insert((*it)[1]);
  }
  return found;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// What `posctl [COMMAND] --help` says.
struct Help {
  Names commands;
  Names options;                               // each spelling: "-o" and "--output"
  std::map<std::string, std::string> longest;  // "-o" and "--output" to "--output"
  Names exitStatuses;

  // The options named in `spellings`, each by its longest spelling; a name
  // the help doesn't know stays as it is.
  Names Canonical(const Names& spellings) const {
    Names names;
    for (const std::string& spelling : spellings) {
      auto found = longest.find(spelling);
      names.insert(found != longest.end() ? found->second : spelling);
    }
    return names;
  }
};

Help ReadHelp(const std::vector<std::string>& command) {
  std::vector<std::string> args = command;
  args.push_back("--help");
  Result result = RunPosctl(args);
  EXPECT_EQ(result.status, 0) << result.err;
  Help help;
  std::string section;
  for (const std::string& line : Lines(result.out)) {
    if (!line.empty() && line[0] != ' ') section = line;
    std::smatch match;
    if (section == "Subcommands:" && std::regex_search(line, match, std::regex("^  ([a-z-]+) "))) {
      help.commands.insert(match[1]);
    }
    if (section == "Options:" && std::regex_search(line, match, std::regex("^  (-[^ ]+)"))) {
      std::vector<std::string> spellings;
      std::istringstream list(match[1]);
      for (std::string spelling; std::getline(list, spelling, ',');) spellings.push_back(spelling);
      for (const std::string& spelling : spellings) {
        help.options.insert(spelling);
        help.longest[spelling] = spellings.back();
      }
    }
    if (std::regex_search(line, match, std::regex("^Exit status: (.*)"))) {
      help.exitStatuses = Matches(match[1], std::regex("(\\d+) "));
    }
  }
  return help;
}

// The manual page as scdoc writes it: sections (.SH), subsections (.SS),
// bold words (\fB...\fR), and list items, whose head is the line before ".RS".
class ManPage {
 public:
  explicit ManPage(const std::string& roff) : lines_(Lines(roff)) {}

  // The lines of a section, or of a subsection when `subsection` is given.
  std::vector<std::string> Part(const std::string& section, const std::string& subsection = "") {
    std::vector<std::string> part;
    bool inSection = false;
    bool inPart = false;
    for (const std::string& line : lines_) {
      if (line.rfind(".SH ", 0) == 0) inSection = Unquoted(line.substr(4)) == section;
      if (line.rfind(".SH ", 0) == 0 || line.rfind(".SS ", 0) == 0) {
        inPart = inSection && (subsection.empty() || Unquoted(line.substr(4)) == subsection);
        continue;
      }
      if (inPart) part.push_back(line);
    }
    return part;
  }

  Names Subsections(const std::string& section) {
    Names names;
    bool inSection = false;
    for (const std::string& line : lines_) {
      if (line.rfind(".SH ", 0) == 0) inSection = Unquoted(line.substr(4)) == section;
      if (inSection && line.rfind(".SS ", 0) == 0) names.insert(Unquoted(line.substr(4)));
    }
    return names;
  }

  // Options in bold on the head lines of a section's list items.
  Names ItemOptions(const std::string& section) {
    const std::vector<std::string> part = Part(section);
    std::string heads;
    for (size_t i = 1; i < part.size(); ++i) {
      if (part[i].rfind(".RS", 0) == 0) heads += part[i - 1] + "\n";
    }
    return BoldOptions(heads);
  }

  static Names BoldOptions(const std::string& text) {
    return Matches(text, std::regex(R"(\\fB(--?[a-z][-a-z]*)\\fR)"));
  }

 private:
  static std::string Unquoted(const std::string& text) {
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
      return text.substr(1, text.size() - 2);
    }
    return text;
  }

  std::vector<std::string> lines_;
};

Names Without(Names names, const Names& removed) {
  for (const std::string& name : removed) names.erase(name);
  return names;
}

Names Union(Names names, const Names& more) {
  names.insert(more.begin(), more.end());
  return names;
}

const Names kHelpOptions = {"-h", "--help"};

TEST(Docs, ManPageHasEveryCommandOptionAndExitStatusOfTheHelpAndNoOther) {
  const std::string roff = ReadFile(POSCTL_MAN_PAGE);
  ASSERT_NE(roff.find(".TH"), std::string::npos) << POSCTL_MAN_PAGE << " is not a manual page";
  ManPage man(roff);
  const Help top = ReadHelp({});
  ASSERT_FALSE(top.commands.empty());

  EXPECT_EQ(man.Subsections("COMMANDS"), top.commands);
  EXPECT_EQ(man.ItemOptions("OPTIONS"), top.options);
  Names commandOptions;
  for (const std::string& command : top.commands) {
    // The synopsis of the command names every option it takes, in one of
    // its spellings.
    std::string synopsis;
    for (const std::string& line : man.Part("COMMANDS", command)) {
      if (line.rfind("\\fBposctl " + command + "\\fR", 0) == 0) synopsis = line;
    }
    const Help help = ReadHelp({command});
    const Names options = Without(help.options, kHelpOptions);
    EXPECT_EQ(help.Canonical(ManPage::BoldOptions(synopsis)), help.Canonical(options))
        << "posctl " << command;
    commandOptions = Union(commandOptions, options);
  }
  EXPECT_EQ(man.ItemOptions("COMMAND OPTIONS"), commandOptions);

  std::string statuses;
  for (const std::string& line : man.Part("EXIT STATUS")) statuses += line + "\n";
  EXPECT_EQ(Matches(statuses, std::regex(R"(\\fB(\d+)\\fR)")), top.exitStatuses);
  EXPECT_FALSE(top.exitStatuses.empty());
}

// What the completion offers for the words typed so far, the last one being
// completed.
Names Complete(const std::vector<std::string>& words) {
  std::string script = "source '" + SourcePath("tools/posctl.bash") + "'; COMP_WORDS=(";
  for (const std::string& word : words) script += "'" + word + "' ";
  script += "); COMP_CWORD=" + std::to_string(words.size() - 1) +
            "; _posctl; printf '%s\\n' \"${COMPREPLY[@]}\"";
  std::string quoted;
  for (char c : script) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  FILE* pipe = popen(("bash -c '" + quoted + "'").c_str(), "r");
  if (pipe == nullptr) {
    ADD_FAILURE() << "popen bash";
    return {};
  }
  std::string out;
  char block[4096];
  for (size_t n; (n = fread(block, 1, sizeof block, pipe)) > 0;) out.append(block, n);
  EXPECT_EQ(pclose(pipe), 0) << script;
  Names offered;
  for (const std::string& line : Lines(out)) {
    if (!line.empty()) offered.insert(line);
  }
  return offered;
}

TEST(Docs, CompletionOffersTheCommandsOptionsAndFormatsOfTheHelp) {
  const Help top = ReadHelp({});
  ASSERT_FALSE(top.commands.empty());
  EXPECT_EQ(Complete({"posctl", ""}), top.commands);
  EXPECT_EQ(Complete({"posctl", "-"}), top.options);
  // The global options that may follow a command.
  const Names global = Without(top.options, {"--version"});
  for (const std::string& command : top.commands) {
    const Help help = ReadHelp({command});
    EXPECT_EQ(Complete({"posctl", command, "-"}), Union(help.options, global)) << command;
  }
  // Format names as the help lists them: "--from notation|typea|json".
  Result convert = RunPosctl({"convert", "--help"});
  for (const std::string option : {"--from", "--to"}) {
    std::smatch match;
    ASSERT_TRUE(std::regex_search(convert.out, match, std::regex(option + " ([a-z|]+)")));
    Names formats;
    std::istringstream names(match[1].str());
    for (std::string name; std::getline(names, name, '|');) formats.insert(name);
    EXPECT_EQ(Complete({"posctl", "convert", option, ""}), formats) << option;
  }
  EXPECT_EQ(Complete({"posctl", "get", "--js"}), Names{"--json"});
  EXPECT_EQ(Complete({"posctl", "ch"}), Names{"check"});
}

}  // namespace
}  // namespace posctl_test
