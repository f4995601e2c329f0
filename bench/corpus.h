// Real-world JSON documents for the benchmarks, read from the shared corpus
// where it exists and otherwise generated with the same shapes.
#ifndef MOXUTILS_BENCH_CORPUS_H_
#define MOXUTILS_BENCH_CORPUS_H_

#include <nlohmann/json.hpp>
#include <string>

#include "MOXTypes.h"

namespace moxbench {

// The documents that whole-document benchmarks take by index, their
// argument N: 0 "canada" (number-heavy coordinate arrays), 1 "citm_catalog"
// (wide dictionaries with integer-like keys), 2 "twitter" (text-heavy).
constexpr int kDocumentCount = 3;
extern const char* const kDocuments[kDocumentCount];

// One of the documents above, by name, parsed once per process.
const nlohmann::json& CorpusDocument(const std::string& name);

// The path of the document's file in the shared corpus, or "" when the
// corpus is not there (the document is then generated).
std::string CorpusFile(const std::string& name);

// The document as a POS tree, unowned: objects to Dict, arrays to Array,
// numbers to Number, strings to String, true/false/null to the strings
// "true", "false" and "null".
MOXContainer ToPOS(const nlohmann::json& value);

}  // namespace moxbench

#endif  // MOXUTILS_BENCH_CORPUS_H_
