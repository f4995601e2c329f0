// The bytes that each form writes. The worked example as a whole is in the
// black-box tests.
#include <cmath>

#include "streamer/version10_routines.h"
#include "streamer_fixture.h"

namespace moxtest {
namespace {

TEST_F(StreamerTest, ScalarForms) {
  const uint16_t units[] = {0x0041, 0xFFFF, 0x0100, 0};
  const std::string bytes(41, '\x5A');
  std::string line;
  for (int i = 0; i < 40; ++i) line += "5A";
  const struct {
    CPOSObject object;
    std::string text;
  } cases[] = {
      {CPOSNumber::New(3), "#3 "},
      {CPOSNumber::New(-0.0), "#-0 "},
      {CPOSNumber::New(0.1), "#0.10000000000000000555111512312578 "},
      {CPOSNumber::New(1e300), "#1.0000000000000000525047602552044e+300 "},
      {CPOSNumber::New(INFINITY), "#inf "},
      {CPOSNumber::New(-INFINITY), "#-inf "},
      {CPOSString::New(""), "\"\""},
      {CPOSString::New("\t\r\\`\x7F\xC3\xA9"), "\"\\t\\r\\\\`\\177\\303\\251\""},
      {CPOSUnicodeString::New(units), "`0041FFff0100`"},
      {CPOSBinData::New("", nullptr, 0), "{\"\" #0  \n}"},
      {CPOSBinData::New("t\"}", bytes.data(), bytes.size()),
       "{\"t\\\"}\" #41  \n\t" + line + "\n\t5A\n}"},
      {CPOSRawPointer::New(nullptr, nullptr), "$(nil) "},
      {CPOSArray::New(), "[\n]"},
      {CPOSDict::New(), "<\n>"},
  };
  for (const auto& c : cases) EXPECT_EQ(Write(c.object), kHeader + c.text);
}

TEST(TrimNumberText, TrimsOnlyPlainDecimals) {
  const struct {
    const char* in;
    const char* out;
  } cases[] = {{"1.500", "1.5"}, {"100.000", "100"}, {"0.0", "0"},           {"1,50", "1,5"},
               {"100", "100"},   {"0", "0"},         {"1.0e+10", "1.0e+10"}, {"-0.0", "-0"},
               {"inf", "inf"},   {"0.000", "0"}};
  for (const auto& c : cases) {
    char text[32];
    snprintf(text, sizeof text, "%s", c.in);
    NPOSStreamerImpl::NTypeAImpl::TrimNumberText(text);
    EXPECT_STREQ(text, c.out) << c.in;
  }
}

}  // namespace
}  // namespace moxtest
