// Number text against the C library it stands in for: every text written is
// the "%.32g" of snprintf and every value read the strtod of the same text,
// byte for byte and bit for bit, for edge values, ties of the 33rd digit,
// random doubles and random texts of the reader's alphabet. In a locale with
// a decimal comma and printable Latin-1 bytes, numbers and bytes take the C
// library's answers too.
#include <gtest/gtest.h>
#include <langinfo.h>
#include <locale.h>
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif
#include <unistd.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "streamer/number_text.h"
#include "streamer/ochar_stream.h"
#include "streamer/version10.h"
#include "streamer_fixture.h"

namespace moxtest {
namespace {

using namespace NPOSStreamerImpl::NTypeAImpl;

std::string Printf(double value) {
  char text[kNumberTextSize];
  std::snprintf(text, sizeof text, "%.32g", value);
  return text;
}

std::string Formatted(double value) {
  char text[kNumberTextSize];
  const size_t length = FormatNumberText(value, text);
  EXPECT_EQ(length, std::strlen(text));
  return text;
}

// Both parsers agree on the bits, so that -0 and 0 are told apart.
void ExpectParsedLikeStrtod(const std::string& text) {
  const double expected = std::strtod(text.c_str(), nullptr);
  const double parsed = ParseNumberText(text.c_str(), text.size());
  EXPECT_EQ(std::memcmp(&expected, &parsed, sizeof parsed), 0)
      << "\"" << text << "\": " << parsed << " instead of " << expected;
}

// Where the form or the rounding changes: zeros, powers of two over the
// whole range, the ends of the range, the subnormals, and the limits of 2^53
// and of 32 digits.
std::vector<double> EdgeValues() {
  std::istringstream table(
      "0 -0 1 0.1 0.33333333333333331 2.5 3.1415926535897931 1e-5 1e-4 9.9999999999999991e-5 "
      "1e15 1e16 1e17 1e21 1e22 1e31 9.9999999999999996e31 1e32 1e33 1e300 9007199254740992 "
      "9007199254740993 123456789012345678901234567890 0x1.fffffffffffffp1023 0x1p-1022 0x1p-52 "
      "0x0.fffffffffffffp-1022 0x0.0000000000001p-1022");
  std::vector<double> values;
  for (std::string text; table >> text;) values.push_back(std::strtod(text.c_str(), nullptr));
  for (int exponent = -1074; exponent <= 1023; exponent += 7)
    values.push_back(std::ldexp(1, exponent));
  // Powers of ten and their neighbours, where "%.32g" changes its form.
  for (int power = -8; power <= 33; ++power) {
    const double exact = std::pow(10.0, power);
    for (double near : {exact, std::nextafter(exact, 0.0), std::nextafter(exact, INFINITY)}) {
      values.push_back(near);
    }
  }
  // Values whose exact decimal expansion has 33 significant digits ending in
  // 5: "%.32g" rounds them half to even, and so must the replacement.
  size_t ties = 0;
  for (int power = 36; power <= 44; ++power) {
    for (int64_t odd = (int64_t{1} << 20) + 1; odd < (int64_t{1} << 20) + 4000; odd += 2) {
      const double value = std::ldexp(static_cast<double>(odd), -power);
      char exact[128];
      std::snprintf(exact, sizeof exact, "%.70e", value);  // more digits than it has
      std::string digits(exact, std::strchr(exact, 'e'));
      digits.erase(1, 1);  // the decimal point
      digits.erase(digits.find_last_not_of('0') + 1);
      if (digits.size() == 33 && digits.back() == '5') values.push_back(value), ++ties;
    }
  }
  EXPECT_GT(ties, 10u) << "the search should find ties to round";
  return values;
}

// Random doubles of every kind: any bits, coordinates, integers up to 2^64
// and fixed-point values about the limit of 60 fraction bits, whose digits
// are made without <charconv>.
std::vector<double> RandomValues(uint64_t seed, int count) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> coordinates(-180, 180);
  std::uniform_int_distribution<int> fractionBits(0, 66);
  std::vector<double> values;
  for (int i = 0; i < count; ++i) {
    uint64_t bits = random();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    if (std::isfinite(value)) values.push_back(value);
    values.push_back(coordinates(random));
    values.push_back(std::ldexp(static_cast<double>(random() >> 11), -fractionBits(random)));
    values.push_back(static_cast<double>(random() >> (i % 40)));
  }
  return values;
}

TEST(NumberTextTest, FormatsAsPrintfDoes) {
  std::vector<double> values = EdgeValues();
  const std::vector<double> random = RandomValues(2024, 200000);
  values.insert(values.end(), random.begin(), random.end());
  for (double value : {INFINITY, -INFINITY, NAN, -NAN}) values.push_back(value);
  for (double value : values) {
    for (double signed_value : {value, -value}) {
      ASSERT_EQ(Formatted(signed_value), Printf(signed_value)) << std::hexfloat << signed_value;
    }
  }
}

TEST(NumberTextTest, ParsesAsStrtodDoes) {
  // Signs, points and exponents in every wrong place, and values beyond the
  // range or between two doubles.
  std::istringstream table(
      "0 -0 +0 1 +1 +-1 --1 - + . -. .5 -.5 5. 1e 1e+ 1E- 1e5 1E5 1e+5 1.2.3 1-2 00012 "
      "1e400 -1e400 1e-400 -1e-400 4.9e-324 2.4703282292062327e-324 2.4703282292062328e-324 "
      "1.7976931348623157e308 1.7976931348623159e308 9007199254740993 "
      "9007199254740993.0000000000000001");
  std::vector<std::string> texts;
  for (std::string text; table >> text;) texts.push_back(text);
  texts.push_back(std::string(62, '9'));
  texts.push_back("0." + std::string(60, '1'));
  for (double value : EdgeValues()) texts.push_back(Printf(value));
  for (double value : RandomValues(7, 25000)) texts.push_back(Printf(value));
  // Anything of the reader's alphabet, as a damaged stream may hold.
  static const char kAlphabet[] = "+-0123456789.Ee";
  std::mt19937_64 random(7);
  std::uniform_int_distribution<size_t> letter(0, sizeof kAlphabet - 2), length(1, 24);
  for (int i = 0; i < 100000; ++i) {
    std::string text(length(random), ' ');
    for (char& c : text) c = kAlphabet[letter(random)];
    texts.push_back(text);
  }
  for (const std::string& text : texts) ExpectParsedLikeStrtod(text);
}

// A German locale in Latin-1, compiled for this test: its decimal point is a
// comma and it calls the bytes 0xA0 to 0xFF printable.
class CommaLocaleTest : public StreamerTest {
 protected:
  void SetUp() override {
    StreamerTest::SetUp();
    char directory[] = "/tmp/moxlocale.XXXXXX";
    ASSERT_NE(mkdtemp(directory), nullptr);
    directory_ = directory;
    const std::string command =
        "localedef -i de_DE -f ISO-8859-1 " + directory_ + "/de_DE.ISO-8859-1 >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) GTEST_SKIP() << "localedef can't make de_DE";
    setenv("LOCPATH", directory_.c_str(), 1);
    {
#if defined(__SANITIZE_ADDRESS__)
      // The C library keeps a few bytes of a LOCPATH search for good.
      __lsan::ScopedDisabler keptByTheCLibrary;
#endif
      locale_ = newlocale(LC_ALL_MASK, "de_DE.ISO-8859-1", nullptr);
    }
    unsetenv("LOCPATH");
    if (locale_ == nullptr) GTEST_SKIP() << "the compiled de_DE can't be loaded";
    uselocale(locale_);
  }
  void TearDown() override {
    uselocale(LC_GLOBAL_LOCALE);
    if (locale_ != nullptr) freelocale(locale_);
    std::system(("rm -rf " + directory_).c_str());
    StreamerTest::TearDown();
  }

  std::string directory_;
  locale_t locale_ = nullptr;
};

TEST_F(CommaLocaleTest, NumbersAndBytesFollowTheCLibrary) {
  ASSERT_STREQ(nl_langinfo(RADIXCHAR), ",");
  for (double value : {2.5, -0.125, 0.1, 1e300, 3.0}) EXPECT_EQ(Formatted(value), Printf(value));
  EXPECT_EQ(Formatted(2.5), "2,5");
  for (const char* text : {"2.5", "2,5", "-1.5e3", "7"}) ExpectParsedLikeStrtod(text);
  EXPECT_EQ(ParseNumberText("2.5", 3), 2.0);

  // What the locale calls printable goes out raw, the rest as octal.
  CMOXPositionableStreamRef stream = MemoryStream();
  {
    OCharStream out(stream);
    out.params = kStringForm;
    const char bytes[] = "\xE9\x85\x7F\"";
    out.PutText(bytes, 4);
    for (int i = 0; i < 4; ++i) out.PutChar(bytes[i]);
  }
  EXPECT_EQ(Contents(stream), "\xE9\\205\\177\\\"\xE9\\205\\177\\\"");
}

}  // namespace
}  // namespace moxtest
