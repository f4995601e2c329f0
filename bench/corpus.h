// Real-world JSON documents for the benchmarks, read from the shared corpus
// where it exists and otherwise generated with the same shapes.
#ifndef MOXUTILS_BENCH_CORPUS_H_
#define MOXUTILS_BENCH_CORPUS_H_

#include <nlohmann/json.hpp>
#include <string>

#include "MOXTypes.h"

namespace moxbench {

// "canada" (number-heavy coordinate arrays), "citm_catalog" (wide
// dictionaries with integer-like keys) or "twitter" (text-heavy).
const nlohmann::json& CorpusDocument(const std::string& name);

// The document as a POS tree, unowned: objects to Dict, arrays to Array,
// numbers to Number, strings to String, true/false/null to the strings
// "true", "false" and "null".
MOXContainer ToPOS(const nlohmann::json& value);

}  // namespace moxbench

#endif  // MOXUTILS_BENCH_CORPUS_H_
