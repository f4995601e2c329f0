// posctl's notation writer against the library's parser: random trees,
// written and read back with CreateFromText, are equal to what was written
// (IsEqual both ways, since dictionary equality is one-sided), and a tree is
// refused exactly when one of its values lies beyond what the notation holds.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

#include "diagnostics.h"
#include "library_session.h"
#include "notation_scan.h"
#include "notation_writer.h"

namespace posctl {
namespace {

constexpr uint64_t kSeed = 0x5eed2024;
constexpr int kTrees = 3000;

// Makes random trees through the library, and knows whether the notation
// can hold each: `fits` turns false at the first value it can't.
class TreeMaker {
 public:
  explicit TreeMaker(const Procs& procs) : procs_(procs), random_(kSeed) {}

  Ref Tree(bool* fits) {
    fits_ = true;
    Ref tree = Value(0);
    *fits = fits_;
    return tree;
  }

 private:
  size_t Below(size_t n) { return random_() % n; }
  bool OneIn(size_t n) { return Below(n) == 0; }

  Ref Value(int depth) {
    switch (Below(depth < 4 ? 7 : 4)) {
      case 0:
        return Number();
      case 1:
      case 2:
        return Ref(procs_, procs_.posString.NewPOSString(Text().c_str()));
      case 3:
        return Unicode();
      case 4:
        return OneIn(20) ? Unwritable() : Array(depth);
      default:
        return Dict(depth);
    }
  }

  // Bytes that matter to the notation, and any others. It takes a
  // character per byte and one per backslash it needs, at most 100.
  std::string Text() {
    static const std::string kSpecial = "()\\ <>[]`#.-+_09aZ\t\n\r\"";
    const size_t length = OneIn(40) ? 90 + Below(20) : Below(30);
    std::string text;
    size_t written = 0;
    for (size_t i = 0; i < length; ++i) {
      text += OneIn(2) ? kSpecial[Below(kSpecial.size())] : static_cast<char>(1 + Below(255));
      written += text.back() == '\\' || text.back() == ')' ? 2 : 1;
    }
    if (written > 100) fits_ = false;
    return text;
  }

  Ref Number() {
    // 53 significant bits, from 2^52 up to 2^53.
    const double mantissa =
        static_cast<double>((random_() >> 11) | (uint64_t{1} << 52)) * (OneIn(2) ? 1 : -1);
    if (OneIn(3))
      return Ref(procs_, procs_.posNumber.NewPOSNumber(static_cast<double>(Below(2001)) - 1000));
    if (OneIn(40)) {
      // Beyond 1e100 or below 1e-100: too many digits without an exponent.
      fits_ = false;
      return Ref(procs_,
                 procs_.posNumber.NewPOSNumber(std::ldexp(mantissa, OneIn(2) ? 340 : -400)));
    }
    // Between 1e-80 and 1e80 any double fits in 100 characters.
    const int exponent = static_cast<int>(Below(424)) - 318;
    return Ref(procs_, procs_.posNumber.NewPOSNumber(std::ldexp(mantissa, exponent)));
  }

  Ref Unicode() {
    const size_t length = OneIn(60) ? 101 + Below(10) : Below(101);
    if (length > 100) fits_ = false;
    std::u16string units;
    for (size_t i = 0; i < length; ++i) units += static_cast<char16_t>(1 + Below(0xFFFF));
    return Ref(procs_, procs_.posUnicodeString.NewPOSUnicodeString(
                           reinterpret_cast<const uint16_t*>(units.c_str())));
  }

  Ref Unwritable() {
    fits_ = false;
    return OneIn(2) ? Ref(procs_, procs_.posBinData.NewPOSBinData("Blob", "\x01\x02", 2))
                    : Ref(procs_, procs_.posNumber.NewPOSNumber(OneIn(2) ? NAN : -INFINITY));
  }

  Ref Array(int depth) {
    Ref array(procs_, procs_.posArray.NewPOSArray());
    for (size_t i = Below(7); i > 0; --i)
      procs_.posArray.Append(array.get(), Value(depth + 1).get());
    return array;
  }

  Ref Dict(int depth) {
    Ref dict(procs_, procs_.posDict.NewPOSDict());
    for (size_t i = Below(7); i > 0; --i) {
      Atom key(procs_, Text().c_str());
      // A key given twice would drop the first value, and what it said.
      if (procs_.posDict.Get(dict.get(), key.get()) != nullptr) continue;
      procs_.posDict.Put(dict.get(), key.get(), Value(depth + 1).get());
    }
    return dict;
  }

  const Procs& procs_;
  std::mt19937_64 random_;
  bool fits_ = true;
};

TEST(NotationWriter, RandomTreesReadBackEqualOrAreRefusedWhenTheyDontFit) {
  LibrarySession session;
  const Procs& procs = session.procs();
  TreeMaker maker(procs);
  int written = 0;
  for (int i = 0; i < kTrees; ++i) {
    bool fits = false;
    Ref tree = maker.Tree(&fits);
    std::string text;
    try {
      WriteNotation(
          procs, tree.get(), [&text](std::string_view part) { text += part; }, "tree");
    } catch (const ToolError& error) {
      EXPECT_FALSE(fits) << "tree " << i << " fits, but: " << error.what();
      EXPECT_EQ(text, "") << "tree " << i << ": refused after writing";
      continue;
    }
    ASSERT_TRUE(fits) << "tree " << i << " has a value the notation can't hold:\n" << text;
    EXPECT_FALSE(ScanNotation(text, 100).hasError) << "tree " << i << ":\n" << text;
    Ref back(procs, procs.posStatics.CreateFromText(text.c_str(), nullptr));
    ASSERT_TRUE(back) << "tree " << i << " doesn't read back:\n" << text;
    EXPECT_TRUE(procs.posObject.IsEqual(tree.get(), back.get()) &&
                procs.posObject.IsEqual(back.get(), tree.get()))
        << "tree " << i << " reads back different:\n"
        << text;
    ++written;
  }
  // Both outcomes are common enough to mean something.
  EXPECT_GT(written, kTrees / 3);
  EXPECT_LT(written, kTrees * 9 / 10);
}

TEST(NotationWriter, NumbersAreTheShortestDigitsWithoutAnExponent) {
  LibrarySession session;
  const Procs& procs = session.procs();
  const std::pair<double, const char*> cases[] = {
      {-0.0, "-0\n"},
      {1e-7, "0.0000001\n"},
      {6.02214076e23, "602214076000000000000000\n"},
      {0.1 + 0.2, "0.30000000000000004\n"},
      {-273.15, "-273.15\n"},
  };
  for (const auto& [value, expected] : cases) {
    Ref number(procs, procs.posNumber.NewPOSNumber(value));
    std::string text;
    WriteNotation(
        procs, number.get(), [&text](std::string_view part) { text += part; }, "n");
    EXPECT_EQ(text, expected);
    Ref back(procs, procs.posStatics.CreateFromText(text.c_str(), nullptr));
    EXPECT_EQ(std::signbit(procs.posNumber.Get(back.get())), std::signbit(value)) << text;
  }
}

}  // namespace
}  // namespace posctl
