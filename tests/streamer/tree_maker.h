// Random POS trees for the round-trip, failure and thread tests.
#ifndef MOXUTILS_TESTS_STREAMER_TREE_MAKER_H_
#define MOXUTILS_TESTS_STREAMER_TREE_MAKER_H_

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "pos/pos_client.h"

namespace moxtest {

using namespace MOX_T_MT;

// Random trees of every form but raw pointers, with finite numbers only.
class TreeMaker {
 public:
  explicit TreeMaker(uint32_t seed) : random_(seed) {}

  CPOSObject Make(int depth) {
    // The upper levels are containers, so that trees span several blocks.
    switch (depth >= 3 ? 4 + Below(3) : Below(depth > 0 ? 7 : 4)) {
      case 0:
        return CPOSNumber::New(Number());
      case 1:
        return CPOSString::New(Bytes(Below(70)).c_str());
      case 2: {
        std::vector<uint16_t> units(Below(40));
        for (uint16_t& unit : units) unit = static_cast<uint16_t>(1 + Below(0xFFFF));
        units.push_back(0);
        return CPOSUnicodeString::New(units.data());
      }
      case 3: {
        std::string data(Below(130), 0);
        for (char& c : data) c = static_cast<char>(Below(256));
        return CPOSBinData::New(Bytes(Below(8)).c_str(), data.data(), data.size());
      }
      case 4:
      case 5: {
        CPOSArray array = CPOSArray::New();
        for (uint32_t n = Below(6); n > 0; --n) array.Append(Make(depth - 1));
        return array;
      }
      default: {
        CPOSDict dict = CPOSDict::New();
        for (uint32_t n = Below(6); n > 0; --n) dict.Put(Bytes(Below(10)).c_str(), Make(depth - 1));
        return dict;
      }
    }
  }

  // Any finite double: small integers, decimals, and raw bit patterns.
  double Number() {
    switch (Below(3)) {
      case 0:
        return static_cast<double>(static_cast<int>(Below(2001)) - 1000);
      case 1:
        return std::ldexp(static_cast<double>(Below(1u << 30)), -static_cast<int>(Below(60)));
      default:
        for (;;) {
          const uint64_t bits = (static_cast<uint64_t>(random_()) << 32) | random_();
          double value;
          memcpy(&value, &bits, sizeof value);
          if (std::isfinite(value)) return value;
        }
    }
  }

 private:
  uint32_t Below(uint32_t n) { return random_() % n; }
  // Any bytes but zero, which ends strings.
  std::string Bytes(uint32_t length) {
    std::string text(length, 0);
    for (char& c : text) c = static_cast<char>(1 + Below(255));
    return text;
  }

  std::mt19937 random_;
};

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_STREAMER_TREE_MAKER_H_
