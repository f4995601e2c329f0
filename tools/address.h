// The places in a tree that commands name. A DeepGet address, such as
// appearance.fonts[1].family, is a key step for each ".key" (the first dot
// may be left out) and a subscript for each "[n]". A JSON Pointer (RFC 6901),
// such as /appearance/fonts/1/family, is a token per "/", with "~1" for "/"
// and "~0" for "~"; it reaches keys holding "." or "[", which a DeepGet
// address can't name.
#ifndef POSCTL_ADDRESS_H_
#define POSCTL_ADDRESS_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace posctl {

struct AddressStep {
  enum class Kind {
    kKey,        // DeepGet ".key": a key of a dictionary
    kSubscript,  // DeepGet "[n]": a member of an array
    kToken,      // JSON Pointer: a key of a dictionary, or an index of an array
  };
  Kind kind = Kind::kKey;
  std::string text;  // the key, or the digits of an index, unescaped
  size_t end = 0;    // where the step ends in the address text
};

struct Address {
  std::string text;  // as given, for messages
  bool pointer = false;
  std::vector<AddressStep> steps;

  // The part of the text up to the end of step `count`, as a message names
  // it: "'a.b'", or "the top level" for none.
  std::string DescribePrefix(size_t count) const;
};

// Throws ToolError with exit status 2 for text that is no address.
Address ParseAddress(const std::string& text, bool pointer);

// An array index: decimal digits, without leading zeros when `canonical`,
// as JSON Pointers write them. Values beyond 64 bits saturate. False for
// anything else.
bool ParseIndex(const std::string& digits, bool canonical, uint64_t* index);

// The address of a value while a tree is walked, kept as steps so that its
// text is only made for a message.
class ValuePath {
 public:
  void PushKey() { steps_.push_back({true, {}, 0}); }
  void PushIndex() { steps_.push_back({false, {}, 0}); }
  void SetKey(const char* key) { steps_.back().key = key; }
  void SetIndex(size_t index) { steps_.back().index = index; }
  void Pop() { steps_.pop_back(); }
  // "'a.b[0]'" as DeepGet writes it, or "the top level"; long paths are cut
  // at the front, and control characters escaped.
  std::string Describe() const;

 private:
  struct Step {
    bool isKey;
    std::string key;
    size_t index;
  };
  std::vector<Step> steps_;
};

// `path` quoted for a message, cut at the front when long, "the top level"
// when empty.
std::string DescribePath(const std::string& path);

}  // namespace posctl

#endif  // POSCTL_ADDRESS_H_
