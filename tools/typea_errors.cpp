#include "typea_errors.h"

#include <cstring>

#include "diagnostics.h"

namespace posctl {
namespace {

constexpr char kVersionName[] = "POSStreamerTypeA_Version1.0";
// The reader gives up on a version name at this length.
constexpr size_t kLongestVersionName = 64;

// The library's texts, what each means to someone reading the file, and
// where the caret goes: where the reader stopped, or back on the byte that
// the message is about.
struct Translation {
  const char* report;
  const char* message;
  char backTo;  // 0: where reading stopped; else the last such byte before it
};

constexpr char kLastByte = 1;

constexpr Translation kTranslations[] = {
    {"POSObjectStreamerImpl::Deserialize failure", "a NUL byte where an object should begin",
     kLastByte},
    {"malformed number", "a malformed number (a number is # and digits, closed by a space)", '#'},
    {"malformed Unicode string", "a Unicode string needs four hexadecimal digits per character",
     kLastByte},
    {"missing dictionary value", "a dictionary key without a value", kLastByte},
    {"Unexpected chars after binary data", "more hexadecimal digits than the binary data's size",
     kLastByte},
    {"GetChars ran out of input", "fewer hexadecimal digits than the binary data's size", 0},
    {"Cannot meaningfully read in a raw pointer (write is for debugging only)",
     "a raw pointer, which is written for debugging only and can't be read back", kLastByte},
    {"downcast from CPOSObject to CPOSString failed",
     "expected a string here (a dictionary key, or the type name of binary data)", 0},
    {"downcast from CPOSObject to CPOSNumber failed",
     "expected a number here (the size of binary data)", 0},
    {"Unexpected escape sequence", "an escape sequence that isn't allowed here", '\\'},
    {"unexpected EOF", "unexpected end of input", 0},
    {"getNextChar unexpected EOF", "unexpected end of input", 0},
};

// How far back the byte a message is about may lie: a number's text is at
// most 63 bytes.
constexpr uint64_t kLookBack = 64;

uint64_t CaretOffset(const InputSource& input, uint64_t start, uint64_t stop, char backTo) {
  if (backTo == 0 || stop <= start) return stop;
  if (backTo == kLastByte) return stop - 1;
  const uint64_t from = stop - start > kLookBack ? stop - kLookBack : start;
  const size_t found = input.ReadRange(from, stop).rfind(backTo);
  return found == std::string::npos ? stop : from + found;
}

}  // namespace

TypeAFailure ExplainTypeAFailure(const std::vector<std::string>& reports, const InputSource& input,
                                 uint64_t start, uint64_t stop) {
  const std::string report = reports.empty() ? "" : reports.back();
  TypeAFailure failure{stop, ""};
  if (report == "StreamerBase::LookupStreamer unrecognized version") {
    std::string name = input.ReadRange(start, start + kLongestVersionName);
    name = name.substr(0, name.find(' '));
    failure.offset = start;
    failure.message =
        "unknown version name '" + Printable(name) + "' (posctl reads " + kVersionName + ")";
    return failure;
  }
  if (report == "Cannot determine streaming params") {
    // The byte that opens no object is the last one read.
    failure.offset = stop > start ? stop - 1 : stop;
    const std::string byte = input.ReadRange(failure.offset, failure.offset + 1);
    failure.message = byte.empty()
                          ? "unexpected end of input"
                          : DescribeByte(static_cast<unsigned char>(byte[0])) + " begins no object";
    return failure;
  }
  for (const Translation& translation : kTranslations) {
    if (report == translation.report) {
      failure.offset = CaretOffset(input, start, stop, translation.backTo);
      failure.message = translation.message;
      return failure;
    }
  }
  failure.message = report.empty() ? "the library could not read the object"
                                   : "the library could not read the object: " + report;
  return failure;
}

}  // namespace posctl
