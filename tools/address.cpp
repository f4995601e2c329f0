#include "address.h"

#include "diagnostics.h"

namespace posctl {
namespace {

[[noreturn]] void FailAddress(const std::string& text, const std::string& why) {
  throw ToolError(kExitUsage, "posctl: error: '" + Printable(text) + "' is not an address: " + why);
}

void ParseDeepGet(Address* address) {
  const std::string& text = address->text;
  // An address that doesn't begin with "." begins with a key all the same,
  // also one that begins with "[": that is the empty key, then a subscript.
  size_t at = 0;
  bool key = text.empty() || text[0] != '.';
  while (key || at < text.size()) {
    AddressStep step;
    if (key || text[at] == '.') {
      if (!key) ++at;
      size_t end = text.find_first_of(".[", at);
      if (end == std::string::npos) end = text.size();
      step.kind = AddressStep::Kind::kKey;
      step.text = text.substr(at, end - at);
      at = end;
    } else if (text[at] == '[') {
      const size_t close = text.find(']', at);
      step.kind = AddressStep::Kind::kSubscript;
      step.text = text.substr(at + 1, close == std::string::npos ? close : close - at - 1);
      uint64_t index;
      if (close == std::string::npos || !ParseIndex(step.text, false, &index)) {
        FailAddress(text, "a subscript is digits between brackets, as in [0]");
      }
      at = close + 1;
    } else {
      FailAddress(text, "after ']' comes '.' or '['");
    }
    key = false;
    step.end = at;
    address->steps.push_back(std::move(step));
  }
}

void ParsePointer(Address* address) {
  const std::string& text = address->text;
  if (!text.empty() && text[0] != '/') {
    FailAddress(text, "a JSON Pointer is empty or begins with '/'");
  }
  size_t at = 0;
  while (at < text.size()) {
    AddressStep step;
    step.kind = AddressStep::Kind::kToken;
    size_t end = text.find('/', at + 1);
    if (end == std::string::npos) end = text.size();
    for (size_t i = at + 1; i < end; ++i) {
      if (text[i] != '~') {
        step.text += text[i];
      } else if (i + 1 < end && (text[i + 1] == '0' || text[i + 1] == '1')) {
        step.text += text[++i] == '0' ? '~' : '/';
      } else {
        FailAddress(text, "'~' is followed by 0 or 1 in a JSON Pointer");
      }
    }
    at = end;
    step.end = end;
    address->steps.push_back(std::move(step));
  }
}

constexpr size_t kLongestShownPath = 80;

}  // namespace

Address ParseAddress(const std::string& text, bool pointer) {
  Address address;
  address.text = text;
  address.pointer = pointer;
  if (pointer) {
    ParsePointer(&address);
  } else {
    ParseDeepGet(&address);
  }
  return address;
}

std::string Address::DescribePrefix(size_t count) const {
  if (count == 0) return "the top level";
  return DescribePath(text.substr(0, steps[count - 1].end));
}

bool ParseIndex(const std::string& digits, bool canonical, uint64_t* index) {
  if (digits.empty() || (canonical && digits.size() > 1 && digits[0] == '0')) return false;
  uint64_t value = 0;
  for (char c : digits) {
    if (c < '0' || c > '9') return false;
    const uint64_t digit = static_cast<uint64_t>(c - '0');
    value = value > (UINT64_MAX - digit) / 10 ? UINT64_MAX : value * 10 + digit;
  }
  *index = value;
  return true;
}

std::string ValuePath::Describe() const {
  std::string path;
  for (const Step& step : steps_) {
    if (step.isKey) {
      path += (path.empty() ? "" : ".") + step.key;
    } else {
      path += "[" + std::to_string(step.index) + "]";
    }
  }
  return DescribePath(path);
}

std::string DescribePath(const std::string& path) {
  if (path.empty()) return "the top level";
  // A path through hundreds of levels says no more than its end.
  if (path.size() > kLongestShownPath) {
    return "'..." + Printable(path.substr(path.size() - kLongestShownPath)) + "'";
  }
  return "'" + Printable(path) + "'";
}

}  // namespace posctl
