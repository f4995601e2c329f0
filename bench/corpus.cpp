#include "corpus.h"

#include <fstream>
#include <map>
#include <random>

#include "bench_session.h"

namespace moxbench {

namespace {

using nlohmann::json;

json GeneratedCanada() {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> lon(-141.0, -52.0), lat(41.0, 83.0);
  json rings = json::array();
  for (int r = 0; r < 40; ++r) {
    json ring = json::array();
    for (int i = 0; i < 1200; ++i) ring.push_back({lon(random), lat(random)});
    rings.push_back(ring);
  }
  return {{"type", "FeatureCollection"},
          {"features",
           {{{"type", "Feature"},
             {"properties", {{"name", "Canada"}}},
             {"geometry", {{"type", "Polygon"}, {"coordinates", rings}}}}}}};
}

json GeneratedCitm() {
  json areas = json::object(), events = json::object();
  for (int i = 0; i < 3000; ++i) {
    std::string id = std::to_string(138586341 + i * 7);
    areas[id] = "Salle " + std::to_string(i);
    events[id] = {{"id", 138586341 + i * 7},
                  {"name", "Concert " + std::to_string(i)},
                  {"subTopicIds", {337184269, 337184283}},
                  {"topicIds", {324846099, 107888604}},
                  {"logo", nullptr}};
  }
  return {{"areaNames", areas}, {"events", events}};
}

json GeneratedTwitter() {
  json statuses = json::array();
  for (int i = 0; i < 100; ++i) {
    statuses.push_back({{"id", 505874924095815681LL + i},
                        {"text",
                         "@aym0566x \u540d\u524d:\u524d\u7530\u3042\u3086\u307f "
                         "\u7b2c\u4e00\u5370\u8c61:\u306a\u3093\u304b\u6016\u3063\uff01"},
                        {"retweeted", false},
                        {"user",
                         {{"screen_name", "user" + std::to_string(i)},
                          {"followers_count", 95 + i},
                          {"description", "24 \u2606 \u304a\u306f\u3088\u3046"}}}});
  }
  return {{"statuses", statuses}};
}

json Load(const std::string& name) {
  std::ifstream file(CorpusFile(name));
  if (file) return json::parse(file);
  if (name == "canada") return GeneratedCanada();
  if (name == "citm_catalog") return GeneratedCitm();
  return GeneratedTwitter();
}

}  // namespace

const char* const kDocuments[kDocumentCount] = {"canada", "citm_catalog", "twitter"};

std::string CorpusFile(const std::string& name) {
  std::string path = std::string(MOX_CORPUS_DIR) + "/" + name + ".json";
  return std::ifstream(path) ? path : std::string();
}

const json& CorpusDocument(const std::string& name) {
  static std::map<std::string, json> documents;
  auto found = documents.find(name);
  if (found == documents.end()) found = documents.emplace(name, Load(name)).first;
  return found->second;
}

MOXContainer ToPOS(const json& value) {
  const Procs& p = Session();
  switch (value.type()) {
    case json::value_t::object: {
      MOXContainer dict = p.posDict.NewPOSDict();
      for (auto it = value.begin(); it != value.end(); ++it) {
        MOXStringAtom key = p.string.NewStringAtom(it.key().c_str());
        p.posDict.Put(dict, key, ToPOS(it.value()));
        p.string.DeleteStringAtom(key);
      }
      return dict;
    }
    case json::value_t::array: {
      MOXContainer array = p.posArray.NewPOSArray();
      for (const json& member : value) p.posArray.Append(array, ToPOS(member));
      return array;
    }
    case json::value_t::string:
      return p.posString.NewPOSString(value.get_ref<const std::string&>().c_str());
    case json::value_t::boolean:
      return p.posString.NewPOSString(value.get<bool>() ? "true" : "false");
    case json::value_t::null:
      return p.posString.NewPOSString("null");
    default:
      return p.posNumber.NewPOSNumber(value.get<double>());
  }
}

}  // namespace moxbench
