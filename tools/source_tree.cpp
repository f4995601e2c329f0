#include "source_tree.h"

#include <algorithm>

namespace posctl {

const SourceNode* SourceNode::Element(size_t index) const {
  if (kind != Kind::kArray || index >= members.size()) return nullptr;
  return &members[index];
}

const SourceNode* SourceNode::Member(std::string_view wanted) const {
  if (kind != Kind::kDict) return nullptr;
  // byKey_ holds each key's last member first among its equals.
  auto it = std::lower_bound(byKey_.begin(), byKey_.end(), wanted,
                             [this](uint32_t i, std::string_view k) { return members[i].key < k; });
  if (it == byKey_.end() || members[*it].key != wanted) return nullptr;
  return &members[*it];
}

SourceNode* SourceTreeBuilder::Add(SourceNode::Kind kind, const Location& at) {
  SourceNode* node;
  if (open_.empty()) {
    // A second top-level value can't come from a scanner that stops after
    // the first; the first one stays.
    if (rootSet_) return nullptr;
    rootSet_ = true;
    node = &root_;
  } else {
    SourceNode* parent = open_.back();
    if (parent == nullptr) return nullptr;
    parent->members.emplace_back();
    node = &parent->members.back();
    if (parent->kind == SourceNode::Kind::kDict) {
      node->key = std::move(pendingKey_);
      node->keyAt = pendingKeyAt_;
      keyPending_ = false;
    }
  }
  node->kind = kind;
  node->at = at;
  return node;
}

void SourceTreeBuilder::Key(std::string text, const Location& at) {
  pendingKey_ = std::move(text);
  pendingKeyAt_ = at;
  keyPending_ = true;
}

bool SourceTreeBuilder::ExpectsKey() const {
  return !open_.empty() && open_.back() != nullptr &&
         open_.back()->kind == SourceNode::Kind::kDict && !keyPending_;
}

void SourceTreeBuilder::Scalar(const Location& at) {
  Add(SourceNode::Kind::kScalar, at);
}

void SourceTreeBuilder::Open(SourceNode::Kind kind, const Location& at) {
  // Past a second top-level value nothing is recorded; a null entry keeps
  // the opens and closes paired.
  open_.push_back(Add(kind, at));
}

void SourceTreeBuilder::Close() {
  if (open_.empty()) return;
  SourceNode* node = open_.back();
  open_.pop_back();
  if (node == nullptr || node->kind != SourceNode::Kind::kDict) return;
  std::vector<uint32_t>& order = node->byKey_;
  order.resize(node->members.size());
  for (uint32_t i = 0; i < order.size(); ++i) order[i] = i;
  const std::vector<SourceNode>& members = node->members;
  // By key, and among equal keys the last one first.
  std::sort(order.begin(), order.end(), [&members](uint32_t a, uint32_t b) {
    const int c = members[a].key.compare(members[b].key);
    return c != 0 ? c < 0 : a > b;
  });
}

}  // namespace posctl
