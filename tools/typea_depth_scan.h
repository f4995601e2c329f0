// A pass over TypeA input before the library reads it. The library's reader
// recurses once per level of nesting and refuses the input only when the
// thread's stack runs short, at a depth that depends on the stack and the
// build, so posctl measures the nesting first and refuses anything beyond its
// own limit, the same on every machine. The pass streams the file in blocks:
// inputs of hundreds of megabytes never sit in memory.
#ifndef POSCTL_TYPEA_DEPTH_SCAN_H_
#define POSCTL_TYPEA_DEPTH_SCAN_H_

#include <cstddef>
#include <cstdint>
#include <memory>

#include "input_source.h"
#include "source_tree.h"

namespace posctl {

struct TypeADepthScan {
  size_t depth = 0;  // deepest nesting of arrays, dictionaries and binary data seen
  bool tooDeep = false;
  uint64_t tooDeepOffset = 0;  // the opening byte that went past the limit
};

// Follows the streams of the file one after another, with whitespace allowed
// between them. The pass stops quietly where the library's reader would
// refuse the input, since nothing beyond that point is ever read.
TypeADepthScan ScanTypeADepth(const InputSource& input, size_t maxDepth);

// The same pass a stream at a time, so that a stream the library has read
// can be followed again to find its values: the scanner reads nothing twice.
class TypeAScanner {
 public:
  TypeAScanner(const InputSource& input, size_t maxDepth);
  ~TypeAScanner();
  TypeAScanner(const TypeAScanner&) = delete;
  TypeAScanner& operator=(const TypeAScanner&) = delete;

  // Passes over the next stream; with `places`, the place of each of its
  // values and keys goes there (what binary data holds is no value). False
  // at the end of the input, or where the library would refuse it.
  bool NextStream(SourceTreeBuilder* places);
  const TypeADepthScan& result() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace posctl

#endif  // POSCTL_TYPEA_DEPTH_SCAN_H_
