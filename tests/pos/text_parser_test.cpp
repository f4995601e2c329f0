// The text notation, seen as a foreign component sees it: through the entry
// registered in "POSObjectStatics" and the object interfaces, with the
// runtime's live counts as the witness that nothing is left behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "pos/text_parser.h"
#include "pos_fixture.h"

namespace {

using moxhost::Runtime;

// A position no parse can produce, to see whether the entry wrote the place.
const char kUntouched[] = "untouched";

class TextParser : public moxtest::POSFixture {
 protected:
  void SetUp() override {
    POSFixture::SetUp();
    create_ = reinterpret_cast<POSObjectCreateFromTextProc>(
        Runtime::LookupProc()("POSObjectStatics", "CreateFromText", "POSObjectCreateFromTextProc"));
    ASSERT_NE(create_, nullptr);
  }

  // The object as text: numbers by %g, strings in quotes, Unicode strings as
  // hexadecimal units, dictionaries in key order.
  std::string Describe(MOXContainer object) {
    char buffer[32];
    std::string text;
    if (object == nullptr) return "null";
    if (p.posString.IsPOSString(object)) return "'" + std::string(p.posString.Get(object)) + "'";
    if (p.posNumber.IsPOSNumber(object)) {
      std::snprintf(buffer, sizeof buffer, "%g", p.posNumber.Get(object));
      return buffer;
    }
    if (p.posArray.IsPOSArray(object)) {
      for (uint32_t i = 0; i < p.posArray.Count(object); ++i) {
        text += (i > 0 ? " " : "") + Describe(p.posArray.GetAt(object, i));
      }
      return "[" + text + "]";
    }
    if (p.posDict.IsPOSDict(object)) {
      MOXContainer it = p.Keep(p.posDictIterator.NewPOSDictIterator(object));
      for (; !p.posDictIterator.IsDone(it); p.posDictIterator.Next(it)) {
        text += (text.empty() ? "" : " ") + std::string(p.posDictIterator.CurKey(it)) + ":" +
                Describe(p.Get(object, p.posDictIterator.CurKey(it)));
      }
      p.container.Release(it);
      return "<" + text + ">";
    }
    for (const uint16_t* unit = p.posUnicodeString.Get(object); *unit != 0; ++unit) {
      std::snprintf(buffer, sizeof buffer, "%s%04X", text.empty() ? "" : " ", *unit);
      text += buffer;
    }
    return "u(" + text + ")";  // the one class left that the notation makes
  }

  // Parses a well-formed text through the registered entry.
  std::string Parse(const std::string& text) {
    const char* position = kUntouched;
    MOXContainer object = create_(text.c_str(), &position);
    EXPECT_EQ(position, nullptr) << "a successful parse clears the position: " << text;
    std::string description = Describe(object);
    p.Drop(object);
    return description;
  }

  // Parses a text that must fail: "message @ offset" of the syntax error.
  std::string Fail(const std::string& text) {
    const char* position = kUntouched;
    const char* message = nullptr;
    MOXContainer object =
        NPOSObjectImpl::CreateFromTextWithMessage(text.c_str(), &position, &message);
    EXPECT_EQ(object, nullptr) << text;
    p.Drop(object);
    // The registered entry stops at the same place and says nothing either.
    const char* entryPosition = kUntouched;
    EXPECT_EQ(create_(text.c_str(), &entryPosition), nullptr) << text;
    EXPECT_EQ(entryPosition, position) << text;
    EXPECT_TRUE(TakeReports().empty()) << text;
    // No partial result survives.
    EXPECT_EQ(moxtest::CountsDiff(started_, Runtime::Get().Counts()), "") << text;
    if (message == nullptr || position == nullptr || position == kUntouched) return "no error";
    return std::string(message) + " @ " + std::to_string(position - text.c_str());
  }

  POSObjectCreateFromTextProc create_ = nullptr;
};

TEST_F(TextParser, WellFormedTexts) {
  const std::string name100(100, 'n'), p98(98, 'p');
  std::string digits, units;
  for (int i = 0; i < 100; ++i) {
    digits += "0041";
    units += i == 0 ? "0041" : " 0041";
  }
  const std::pair<std::string, std::string> cases[] = {
      {"[1 2.5 abc (x y)]", "[1 2.5 'abc' 'x y']"},
      {" \t< \r\n>\n", "<>"},
      {"<b<c[]>a[1<d()>]>", "<a:[1 <d:''>] b:<c:[]>>"},
      // No keywords: these are names like any other.
      {"[true false null _x9]", "['true' 'false' 'null' '_x9']"},
      {"<(two words) 1>", "<two words:1>"},
      // Numbers take digits and points after one sign.
      {"1.2.3", "1.2"},
      {"[-1.5 +2 .25 007]", "[-1.5 2 0.25 7]"},
      {"[--1]", "[0 -1]"},
      {"[1e5]", "[1 'e5']"},
      {"[1(a)`0042`]", "[1 'a' u(0042)]"},
      // Parenthesised strings quote with a backslash.
      {"(a\\)b)", "'a)b'"},
      {"(a\\nb\\\\c)", "'anb\\c'"},
      {"[(a(b) c]", "['a(b' 'c']"},
      // Unicode strings are big-endian groups of four hexadecimal digits; a
      // short last group stops at the closing accent, its missing digits zero.
      {"`00e9D83Dde00`", "u(00E9 D83D DE00)"},
      {"[`004142`7]", "[u(0041 4200) 7]"},
      // A group that is not four digits is scanned as the C library scans
      // "%02X%02x": blanks skipped, a sign or "0x" taken, digits of the next
      // group borrowed; the unit 0 of a group without digits ends the string.
      {"`+f+f -120x4112 300g1`", "u(0F0F FF20 0041 1230)"},
      // Of a key given twice, the last value stays.
      {"<b [1] a 2 b <c 3> (a) x>", "<a:'x' b:<c:3>>"},
      // Tokens up to the limits: 100 typed characters, 400 digits.
      {name100, "'" + name100 + "'"},
      {"(" + p98 + "\\))", "'" + p98 + ")'"},
      {std::string(50, '0') + std::string(50, '9'), "1e+50"},
      {"`" + digits + "`", "u(" + units + ")"},
      // 401 digits: the one over makes a 101st unit, its missing digits zero.
      {"`" + digits + "2`", "u(" + units + " 0200)"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(Parse(text), expected) << text;
}

TEST_F(TextParser, MalformedTextsStopAtTheirPlace) {
  std::string escaped;  // the limit counts what was typed: 60 escapes are 120
  for (int i = 0; i < 60; ++i) escaped += "\\)";
  const std::pair<std::string, std::string> cases[] = {
      {"", "Empty text string @ 0"},
      {" \t\r\n ", "Empty text string @ 5"},
      {"<a", "Empty text string @ 2"},
      {"<a [1 <b (c)>] d", "Empty text string @ 16"},
      // The text ends inside a string: not read on past its end.
      {"(ab\\", "Empty text string @ 4"},
      {"[`0041", "Empty text string @ 6"},
      {"<a>", "Unexpected > @ 3"},
      {"]", "Unexpected ] @ 1"},
      {"<a ]>", "Unexpected ] @ 4"},
      {"{", "Unexpected character @ 0"},
      {"[1 \"x\"]", "Unexpected character @ 3"},
      {"[a \x80]", "Unexpected character @ 3"},
      {"[(a(b)c)]", "Unexpected character @ 7"},
      {"<1 2>", "Expected dictionary key string @ 2"},
      {"<`0041` 1>", "Expected dictionary key string @ 7"},
      {"1e5", "Unexpected characters after object @ 1"},
      {"--1", "Unexpected characters after object @ 1"},
      {"[1] \n x", "Unexpected characters after object @ 6"},
      {"<a 1>>", "Unexpected characters after object @ 5"},
      {"[" + std::string(101, 'n') + "]", "Exceeded max string length @ 102"},
      {"<k (" + std::string(101, 'p') + ")>", "Exceeded max string length @ 106"},
      {"(" + escaped + ")", "Exceeded max string length @ 122"},
      {"[" + std::string(101, '1') + "]", "Exceeded max number length @ 102"},
      {"-" + std::string(100, '1'), "Exceeded max number length @ 101"},
      {"`" + std::string(402, 'A') + "`", "Exceeded max string length @ 404"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(Fail(text), expected) << text;
  EXPECT_EQ(create_("<a", nullptr), nullptr) << "the place for the position is optional";
  const char* position = kUntouched;
  EXPECT_EQ(create_(nullptr, &position), nullptr) << "a null text is refused like an empty one";
  EXPECT_EQ(position, nullptr);
  EXPECT_EQ(TakeReports(), Reports{});
}

}  // namespace

// Memory running out while a member goes into its container costs that member
// only: the parse reports it and goes on. Making an object or a key fails the
// whole parse, with nothing left behind.
TEST_F(TextParser, OutOfMemoryDropsAMemberOrFailsTheParse) {
  const std::string text = "<a [1 2] b 3>";
  std::vector<std::string> partial;
  for (uint64_t n = 1;; ++n) {
    Runtime::Get().FailNthAllocation(n);
    MOXContainer object = create_(text.c_str(), nullptr);
    Runtime::Get().ClearFaults();
    const Reports reports = TakeReports();
    const std::string description = Describe(object);
    p.Drop(object);
    EXPECT_EQ(moxtest::CountsDiff(started_, Runtime::Get().Counts()), "") << n;
    if (reports.empty()) {
      EXPECT_EQ(description, "<a:[1 2] b:3>") << "no allocation failed at " << n;
      break;
    }
    EXPECT_EQ(reports.front(), "std::bad_alloc") << n;
    if (object != nullptr) partial.push_back(description);
  }
  // Among the runs that made a tree: the first member of the array, whose slots
  // are made when it goes in, and a dictionary member, whose node is.
  for (const char* dropped : {"<a:[2] b:3>", "<a:[1 2]>"}) {
    EXPECT_NE(std::find(partial.begin(), partial.end(), dropped), partial.end())
        << dropped << " in " << ::testing::PrintToString(partial);
  }
}
