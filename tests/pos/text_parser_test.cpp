// The text notation, seen as a foreign component sees it: through the entry
// registered in "POSObjectStatics" and the object interfaces, with the
// runtime's live counts as the witness that nothing is left behind.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

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
    std::string text;
    if (object == nullptr) {
      text = "null";
    } else if (p.isNumber(object)) {
      char number[32];
      std::snprintf(number, sizeof number, "%g", p.getNumber(object));
      text = number;
    } else if (p.isString(object)) {
      text = "'" + std::string(p.getString(object)) + "'";
    } else if (p.isArray(object)) {
      for (uint32_t i = 0; i < p.count(object); ++i) {
        text += (i > 0 ? " " : "") + Describe(p.getAt(object, i));
      }
      text = "[" + text + "]";
    } else if (p.isDict(object)) {
      MOXContainer it = p.newIterator(object);
      for (; !p.isDone(it); p.next(it)) {
        text += (text.empty() ? "" : " ") + std::string(p.curKey(it)) + ":" +
                Describe(p.Get(object, p.curKey(it)));
      }
      p.Drop(it);
      text = "<" + text + ">";
    } else {  // the one class left that the notation makes
      for (const uint16_t* unit = p.getUnicode(object); *unit != 0; ++unit) {
        char group[8];
        std::snprintf(group, sizeof group, "%s%04X", text.empty() ? "" : " ", *unit);
        text += group;
      }
      text = "u(" + text + ")";
    }
    return text;
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

TEST_F(TextParser, BuildsNestedObjects) {
  EXPECT_EQ(Parse("[1 2.5 abc (x y)]"), "[1 2.5 'abc' 'x y']");
  EXPECT_EQ(Parse("<>"), "<>");
  EXPECT_EQ(Parse("[]"), "[]");
  EXPECT_EQ(Parse(" \t< \r\n>\n"), "<>");
  EXPECT_EQ(Parse("[ [ ] ]"), "[[]]");
  EXPECT_EQ(Parse("< category string oneof [int] >"), "<category:'string' oneof:['int']>");
  EXPECT_EQ(Parse("<b<c[]>a[1<d()>]>"), "<a:[1 <d:''>] b:<c:[]>>");
  // No keywords: these are names like any other.
  EXPECT_EQ(Parse("[true false null _x9]"), "['true' 'false' 'null' '_x9']");
  EXPECT_EQ(Parse("<(two words) 1>"), "<two words:1>");
}

TEST_F(TextParser, NumbersTakeDigitsAndPointsAfterOneSign) {
  EXPECT_EQ(Parse("1.2.3"), "1.2");
  EXPECT_EQ(Parse("-"), "0");
  EXPECT_EQ(Parse("+."), "0");
  EXPECT_EQ(Parse("[-1.5 +2 .25 007]"), "[-1.5 2 0.25 7]");
  EXPECT_EQ(Parse("[--1]"), "[0 -1]");
  EXPECT_EQ(Parse("[1-2]"), "[1 -2]");
  EXPECT_EQ(Parse("[1e5]"), "[1 'e5']");
  EXPECT_EQ(Parse("[1(a)`0042`]"), "[1 'a' u(0042)]");
}

TEST_F(TextParser, ParenthesisedStringsQuoteWithBackslash) {
  EXPECT_EQ(Parse("(a\\)b)"), "'a)b'");
  EXPECT_EQ(Parse("(a\\nb\\\\c)"), "'anb\\c'");
  EXPECT_EQ(Parse("[(a(b) c]"), "['a(b' 'c']");
  EXPECT_EQ(Parse("(<[ ]> `)"), "'<[ ]> `'");
}

TEST_F(TextParser, UnicodeStringsAreBigEndianHexGroups) {
  EXPECT_EQ(Parse("`0041`"), "u(0041)");
  EXPECT_EQ(Parse("`00e9D83Dde00`"), "u(00E9 D83D DE00)");
  EXPECT_EQ(Parse("``"), "u()");
  // A short last group stops at the closing accent; its missing digits read
  // as zero.
  EXPECT_EQ(Parse("[`004142`7]"), "[u(0041 4200) 7]");
}

TEST_F(TextParser, DuplicateKeysKeepTheLastValue) {
  EXPECT_EQ(Parse("<a 1 a 2>"), "<a:2>");
  EXPECT_EQ(Parse("<b [1] a 2 b <c 3> (a) x>"), "<a:'x' b:<c:3>>");
}

TEST_F(TextParser, TokensUpToTheLimitsAreAccepted) {
  const std::string name100(100, 'n');
  EXPECT_EQ(Parse(name100), "'" + name100 + "'");
  EXPECT_EQ(Parse("(" + std::string(98, 'p') + "\\))"), "'" + std::string(98, 'p') + ")'");
  EXPECT_EQ(Parse(std::string(50, '0') + std::string(50, '9')), "1e+50");
  std::string digits;
  std::string units;
  for (int i = 0; i < 100; ++i) {
    digits += "0041";
    units += i == 0 ? "0041" : " 0041";
  }
  EXPECT_EQ(Parse("`" + digits + "`"), "u(" + units + ")");
  // 401 digits: the one over makes a 101st unit, its missing digits zero.
  EXPECT_EQ(Parse("`" + digits + "2`"), "u(" + units + " 0200)");
}

TEST_F(TextParser, SyntaxErrorsStopAtTheirPlace) {
  const struct {
    std::string text;
    const char* expected;
  } cases[] = {
      {"", "Empty text string @ 0"},
      {" \t\r\n ", "Empty text string @ 5"},
      {"[1", "Empty text string @ 2"},
      {"[1 ", "Empty text string @ 3"},
      {"<a 1", "Empty text string @ 4"},
      {"<a", "Empty text string @ 2"},
      {"<a [1 <b (c)>] d", "Empty text string @ 16"},
      // The text ends inside a string: not read on past its end.
      {"(abc", "Empty text string @ 4"},
      {"(ab\\", "Empty text string @ 4"},
      {"[`0041", "Empty text string @ 6"},
      {"<a>", "Unexpected > @ 3"},
      {">", "Unexpected > @ 1"},
      {"[1>", "Unexpected > @ 3"},
      {"]", "Unexpected ] @ 1"},
      {"<a 1]", "Unexpected ] @ 5"},
      {"<a ]>", "Unexpected ] @ 4"},
      {"{", "Unexpected character @ 0"},
      {"[1 \"x\"]", "Unexpected character @ 3"},
      {"[a \x80]", "Unexpected character @ 3"},
      {"[a \v]", "Unexpected character @ 3"},
      {"[(a(b)c)]", "Unexpected character @ 7"},
      {"<1 2>", "Expected dictionary key string @ 2"},
      {"<`0041` 1>", "Expected dictionary key string @ 7"},
      {"<a 1 [] 2>", "Expected dictionary key string @ 7"},
      {"1e5", "Unexpected characters after object @ 1"},
      {"--1", "Unexpected characters after object @ 1"},
      {"[1] \n x", "Unexpected characters after object @ 6"},
      {"(a(b)c)", "Unexpected characters after object @ 5"},
      {"<a 1>>", "Unexpected characters after object @ 5"},
  };
  for (const auto& c : cases) EXPECT_EQ(Fail(c.text), c.expected) << "text: " << c.text;
}

TEST_F(TextParser, TokensOverTheLimitsAreRefused) {
  EXPECT_EQ(Fail("[" + std::string(101, 'n') + "]"), "Exceeded max string length @ 102");
  EXPECT_EQ(Fail("<k (" + std::string(101, 'p') + ")>"), "Exceeded max string length @ 106");
  // The limit counts what was typed: 60 escaped characters are 120.
  std::string escaped;
  for (int i = 0; i < 60; ++i) escaped += "\\)";
  EXPECT_EQ(Fail("(" + escaped + ")"), "Exceeded max string length @ 122");
  EXPECT_EQ(Fail("[" + std::string(101, '1') + "]"), "Exceeded max number length @ 102");
  EXPECT_EQ(Fail("-" + std::string(100, '1')), "Exceeded max number length @ 101");
  EXPECT_EQ(Fail("`" + std::string(402, 'A') + "`"), "Exceeded max string length @ 404");
}

TEST_F(TextParser, PositionPlaceIsOptional) {
  EXPECT_EQ(create_("<a", nullptr), nullptr);
  MOXContainer object = create_("[1]", nullptr);
  EXPECT_EQ(Describe(object), "[1]");
  p.Drop(object);
  // A null text is refused like an empty one.
  const char* position = kUntouched;
  EXPECT_EQ(create_(nullptr, &position), nullptr);
  EXPECT_EQ(position, nullptr);
  EXPECT_TRUE(Runtime::Get().Reports().empty());
}

// A failure that is not a syntax error is reported, gives null and leaves
// the position null.
TEST_F(TextParser, MissingStringInterfaceIsReportedNotASyntaxError) {
  Runtime::Get().HideInterface("POSStringInterface");
  Runtime::Get().RaiseUnregisterCounter();
  const char* position = kUntouched;
  EXPECT_EQ(create_("[1 <k 2>]", &position), nullptr);
  EXPECT_EQ(position, nullptr);
  // One report, of the failed lookup (whose text is empty), and the array
  // and number made before the String are gone again.
  EXPECT_EQ(TakeReports(), Reports{""});
  EXPECT_EQ(moxtest::CountsDiff(started_, Runtime::Get().Counts()), "");
  Runtime::Get().ClearFaults();
  Runtime::Get().RaiseUnregisterCounter();
  EXPECT_EQ(Parse("<k 2>"), "<k:2>");
}

// Every allocation and every atom of a nested parse fails in turn. Whatever
// fails is reported by the method that ran out; the parse then gives null or
// the object without what could not be added, and leaves nothing behind.
TEST_F(TextParser, ExhaustionAtEachStepLeavesNothingBehind) {
  const char* const text = "<list [1 (two) `0033` <four [4]>] name x>";
  const std::string complete = "<list:[1 'two' u(0033) <four:[4]>] name:'x'>";
  Runtime& rt = Runtime::Get();
  const uint64_t allocationsBefore = rt.AllocationCalls();
  p.Drop(create_(text, nullptr));
  const uint64_t allocations = rt.AllocationCalls() - allocationsBefore;
  for (const bool atoms : {false, true}) {
    uint64_t n = 1;
    for (;; ++n) {
      SCOPED_TRACE((atoms ? "atom " : "allocation ") + std::to_string(n));
      ASSERT_LT(n, 1000u) << "every parse reports";
      rt.ClearReports();
      if (atoms) {
        rt.FailNthStringAtom(n);
      } else {
        rt.FailNthAllocation(n);
      }
      const char* position = kUntouched;
      MOXContainer object = create_(text, &position);
      rt.ClearFaults();
      const std::string description = Describe(object);
      p.Drop(object);
      EXPECT_EQ(position, nullptr);
      EXPECT_EQ(moxtest::CountsDiff(started_, rt.Counts()), "");
      // Without a report the fault was not reached: the parse needs fewer.
      if (rt.Reports().empty()) {
        EXPECT_EQ(description, complete);
        break;
      }
      EXPECT_NE(description, complete);
      EXPECT_TRUE(object == nullptr || description.front() == '<') << description;
    }
    if (!atoms) {
      EXPECT_EQ(n, allocations + 1) << "an allocation failed without a report";
    }
    EXPECT_GT(n, 5u);
  }
  rt.ClearReports();
}

}  // namespace
