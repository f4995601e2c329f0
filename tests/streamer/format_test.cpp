// The bytes of the format, written and read.
#include <cmath>

#include "streamer/version10_routines.h"
#include "streamer_fixture.h"

namespace moxtest {
namespace {

// The dictionary of the format's worked example. A Dict iterates its keys in
// ascending order, so its entries come out as b, l, n, s, u.
CPOSDict WorkedExample() {
  CPOSDict dict = CPOSDict::New();
  dict.Put("n", CPOSNumber::New(2.5));
  dict.Put("s", CPOSString::New("say \"hi\"\n\x01"));
  const uint16_t units[] = {0x00E9, 0xABCD, 0};
  dict.Put("u", CPOSUnicodeString::New(units));
  dict.Put("b", CPOSBinData::New("raw", "\x01\xAB\xFF", 3));
  CPOSArray list = CPOSArray::New();
  list.Append(CPOSNumber::New(7));
  list.Append(CPOSArray::New());
  dict.Put("l", list);
  return dict;
}

TEST_F(StreamerTest, WorkedExampleByteForByte) {
  const std::string expected = kHeader +
                               "<\n"
                               "\t\"b\" {\"raw\" #3  \n"
                               "\t\t01ABFF\n"
                               "\t}\n"
                               "\t\"l\" [\n"
                               "\t\t#7 \n"
                               "\t\t[\n"
                               "\t\t]\n"
                               "\t]\n"
                               "\t\"n\" #2.5 \n"
                               "\t\"s\" \"say \\\"hi\\\"\\n\\001\"\n"
                               "\t\"u\" `00e9ABcd`\n"
                               ">";
  CPOSDict dict = WorkedExample();
  ASSERT_EQ(Write(dict), expected);
  CPOSObject back = Read(expected);
  ASSERT_FALSE(back.IsEmpty()) << Reports();
  EXPECT_TRUE(back.IsEqual(dict));
  EXPECT_TRUE(dict.IsEqual(back));
}

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
