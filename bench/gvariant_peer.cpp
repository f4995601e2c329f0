// A typed-value text format as the peer of TypeA and the text notation:
// GLib's GVariant text form (g_variant_print, g_variant_parse) on the same
// trees. The mapping is the one the library's trees get: objects become
// a{sv}, arrays av, numbers doubles, and strings, true, false and null
// strings.
#include <benchmark/benchmark.h>
#include <glib.h>

#include <memory>
#include <string>

#include "corpus.h"

namespace moxbench {
namespace {

using nlohmann::json;

GVariant* ToVariant(const json& value) {
  switch (value.type()) {
    case json::value_t::object: {
      GVariantBuilder builder;
      g_variant_builder_init(&builder, G_VARIANT_TYPE("a{sv}"));
      for (auto it = value.begin(); it != value.end(); ++it) {
        g_variant_builder_add(&builder, "{sv}", it.key().c_str(), ToVariant(it.value()));
      }
      return g_variant_builder_end(&builder);
    }
    case json::value_t::array: {
      GVariantBuilder builder;
      g_variant_builder_init(&builder, G_VARIANT_TYPE("av"));
      for (const json& member : value) {
        g_variant_builder_add_value(&builder, g_variant_new_variant(ToVariant(member)));
      }
      return g_variant_builder_end(&builder);
    }
    case json::value_t::string:
      return g_variant_new_string(value.get_ref<const std::string&>().c_str());
    case json::value_t::boolean:
      return g_variant_new_string(value.get<bool>() ? "true" : "false");
    case json::value_t::null:
      return g_variant_new_string("null");
    default:
      return g_variant_new_double(value.get<double>());
  }
}

struct VariantRelease {
  void operator()(GVariant* variant) const { g_variant_unref(variant); }
};
using Variant = std::unique_ptr<GVariant, VariantRelease>;

Variant DocumentVariant(int index) {
  return Variant(g_variant_ref_sink(ToVariant(CorpusDocument(kDocuments[index]))));
}

std::string PrintedText(GVariant* tree) {
  gchar* text = g_variant_print(tree, FALSE);
  std::string copy(text);
  g_free(text);
  return copy;
}

void BM_PeerGVariantPrint(benchmark::State& state) {
  Variant tree = DocumentVariant(static_cast<int>(state.range(0)));
  state.SetLabel(kDocuments[state.range(0)]);
  for (auto _ : state) {
    gchar* text = g_variant_print(tree.get(), FALSE);
    benchmark::DoNotOptimize(text);
    g_free(text);
  }
}
BENCHMARK(BM_PeerGVariantPrint)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

// Parses the printed text back into a tree, which is then destroyed, as the
// TypeA reader's and the notation parser's trees are.
void BM_PeerGVariantParse(benchmark::State& state) {
  Variant tree = DocumentVariant(static_cast<int>(state.range(0)));
  const std::string text = PrintedText(tree.get());
  state.SetLabel(kDocuments[state.range(0)]);
  {
    Variant parsed(g_variant_parse(nullptr, text.c_str(), nullptr, nullptr, nullptr));
    if (!parsed || !g_variant_equal(parsed.get(), tree.get())) {
      state.SkipWithError("the printed text does not parse back to the same tree");
    }
  }
  for (auto _ : state) {
    Variant parsed(g_variant_parse(nullptr, text.c_str(), nullptr, nullptr, nullptr));
    benchmark::DoNotOptimize(parsed.get());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_PeerGVariantParse)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace moxbench
