// Internal helpers of the dictionary tree, for modules that build or walk
// RBST nodes themselves (stream readers, typed trees).
//
// Every empty position of a tree holds a sentinel node of its own: colour 1,
// both children null, an owned empty key, value 0. "Both children null" is the
// only sentinel test, so an empty key in a real node is legal. Keys are owned
// malloc texts that are wiped with zeros before they are freed; never free a
// node or its key by hand, use the helpers below.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "libquorvex.h"

namespace qvx {

inline bool IsSentinel(const RBSTNode *n) { return !n->left && !n->right; }

// In-order walk of the real nodes of a tree, without recursion, until
// `visit` answers false; answers false when it stopped early. `visit` may not
// change the tree. The path from the root is kept in a local array (a
// balanced tree of 2^48 nodes fits); a deeper, damaged tree spills to the heap.
template <class F>
bool WalkInOrder(RBSTNode *root, F &&visit) {
  constexpr std::size_t kLocal = 96;
  RBSTNode *local[kLocal];
  std::vector<RBSTNode *> spill;
  std::size_t depth = 0;
  RBSTNode *n = root;
  while (depth > 0 || (n && !IsSentinel(n))) {
    while (n && !IsSentinel(n)) {
      if (depth < kLocal) local[depth] = n;
      else spill.push_back(n);
      ++depth;
      n = n->left;
    }
    --depth;
    if (depth < kLocal) {
      n = local[depth];
    } else {
      n = spill.back();
      spill.pop_back();
    }
    if (!visit(n)) return false;
    n = n->right;
  }
  return true;
}

// The same walk over every node.
template <class F>
void ForEachNode(RBSTNode *root, F &&f) {
  WalkInOrder(root, [&f](RBSTNode *n) {
    f(n);
    return true;
  });
}

// A fresh sentinel under `parent` (which may be null), or null when memory
// runs out. Its empty key is a block of its own, so code that turns a sentinel
// into a real node may wipe and free that key and store another.
RBSTNode *NewSentinel(RBSTNode *parent) noexcept;

// A real node with a copy of `key` (length bytes, no terminator needed) kept
// in the node's own block, which saves a cache miss per level of a look-up.
// Children are null; the caller links it.
RBSTNode *NewKeyedNode(const char *key, std::size_t length, void *value, int32_t color) noexcept;

// Replaces a node's key with a copy of `key`, wiping the old one. Keys of
// nodes made by NewKeyedNode may live inside the node: never free or
// reallocate node->key by hand, use this and FreeNodeShell.
bool SetNodeKey(RBSTNode *n, const char *key) noexcept;

// Wipes the key and frees the node alone (not its children, not its value),
// whichever way the key is stored.
void FreeNodeShell(RBSTNode *n) noexcept;

// Puts `node` where `sentinel` stands, re-using the sentinel as the node's
// left child and hanging a new one on its right. False, with nothing
// changed, when memory runs out.
bool ReplaceSentinel(RBST *tree, RBSTNode *sentinel, RBSTNode *node) noexcept;

// Rebuilds a tree from its nodes in pre-order, using the stored colours and
// no rebalancing: each node goes under the last node whose key it does not
// exceed, found with a stack of the nodes still open on the right. Works for
// any key sequence, ordered or not, so a damaged stream still yields a
// well-formed (if meaningless) tree.
class PreorderBuilder {
 public:
  // `tree` must hold an empty tree (a sentinel root, size 0).
  explicit PreorderBuilder(RBST *tree) : tree_(tree) {}
  // Copies the key; on success the value belongs to the tree and size rises
  // by one, on failure both stay with the caller.
  bool Add(const char *key, std::size_t length, void *value, int32_t color) noexcept;

 private:
  RBST *tree_;
  std::vector<RBSTNode *> open_;
};

}  // namespace qvx

namespace qvx {
// Links an entry (key already owned by it) at the tail of a list.
void KeyListAppend(KeyList *list, KeyListEntry *e) noexcept;
}  // namespace qvx
