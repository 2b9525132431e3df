// The dictionary of the library: a red-black tree of owned text keys with one
// opaque value word a node (RBST), its integer-keyed sibling (IntRBST) and the
// ordered key list (KeyList) that walks in key order go through.
//
// Two facts shape everything here. First, every empty position holds a real
// black sentinel node (see rbst.h), so the repair code reads the colour of an
// uncle or a nephew without a null test. Second, the exact shape and colours
// are visible in the stream form, so insertion, rotation and deletion follow
// one fixed recipe: the bottom-up insertion repair with the "inner child is
// rotated outward first" step, deletion that copies the in-order predecessor
// into the node and removes the predecessor, and the classic double-black
// repair of Cormen et al. Any other balancing would read back as a different
// tree. Deletion finds its node by ordered descent, which reaches the same node
// a full walk would, in logarithmic time.
//
// Walks are iterative: a tree rebuilt from a damaged stream may be a chain as
// long as it has nodes, and must not exhaust the call stack.
#include "persistence/rbst.h"

#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "common/boundary.h"
#include "libquorvex.h"

namespace qvx {

RBSTNode *NewSentinel(RBSTNode *parent) noexcept {
  auto *n = static_cast<RBSTNode *>(std::malloc(sizeof(RBSTNode)));
  if (!n) return nullptr;
  n->key = DupText("", 0);
  if (!n->key) {
    std::free(n);
    return nullptr;
  }
  n->color = 1;
  n->left = n->right = nullptr;
  n->parent = parent;
  n->value = nullptr;
  return n;
}

RBSTNode *NewKeyedNode(const char *key, std::size_t length, void *value, int32_t color) noexcept {
  auto *n = static_cast<RBSTNode *>(std::malloc(sizeof(RBSTNode) + length + 1));
  if (!n) return nullptr;
  n->key = reinterpret_cast<char *>(n + 1);
  if (length) std::memcpy(n->key, key, length);
  n->key[length] = '\0';
  n->color = color;
  n->left = n->right = n->parent = nullptr;
  n->value = value;
  return n;
}

namespace {
bool KeyInline(const RBSTNode *n) { return n->key == reinterpret_cast<const char *>(n + 1); }

void Wipe(char *text) {
  volatile char *p = text;
  for (; *p; ++p) *p = 0;
}
}  // namespace

bool SetNodeKey(RBSTNode *n, const char *key) noexcept {
  std::size_t length = std::strlen(key);
  if (KeyInline(n) && length <= std::strlen(n->key)) {
    Wipe(n->key);
    std::memcpy(n->key, key, length + 1);
    return true;
  }
  char *copy = DupText(key, length);
  if (!copy) return false;
  if (KeyInline(n))
    Wipe(n->key);
  else
    WipeAndFree(n->key);
  n->key = copy;
  return true;
}

void FreeNodeShell(RBSTNode *n) noexcept {
  if (!n) return;
  if (KeyInline(n))
    Wipe(n->key);
  else
    WipeAndFree(n->key);
  std::free(n);
}

bool ReplaceSentinel(RBST *tree, RBSTNode *s, RBSTNode *node) noexcept {
  RBSTNode *right = NewSentinel(node);
  if (!right) return false;
  RBSTNode *p = s->parent;
  node->parent = p;
  if (!p)
    tree->root = node;
  else if (p->left == s)
    p->left = node;
  else
    p->right = node;
  s->parent = node;
  node->left = s;
  node->right = right;
  return true;
}

bool PreorderBuilder::Add(const char *key, std::size_t length, void *value, int32_t color) noexcept {
  return Guard(false, [&] {
    open_.reserve(open_.size() + 1);  // the only step that can throw
    RBSTNode *target;
    if (open_.empty()) {
      target = tree_->root;
    } else {
      RBSTNode *lastPopped = nullptr;
      while (!open_.empty() && std::strcmp(key, open_.back()->key) > 0) {
        lastPopped = open_.back();
        open_.pop_back();
      }
      // A node just pushed still has its left sentinel, and a node leaves the
      // stack before anything is hung on its right: both targets are empty.
      target = lastPopped ? lastPopped->right : open_.back()->left;
    }
    if (!target || !IsSentinel(target)) return false;
    RBSTNode *node = NewKeyedNode(key, length, value, color);
    if (!node) return false;
    if (!ReplaceSentinel(tree_, target, node)) {
      node->value = nullptr;
      FreeNodeShell(node);
      return false;
    }
    open_.push_back(node);
    ++tree_->size;
    return true;
  });
}

}  // namespace qvx

namespace {

using qvx::FreeNodeShell;
using qvx::IsSentinel;
using qvx::NewSentinel;
using qvx::WipeAndFree;

bool IsSentinel(const IntRBSTNode *n) { return n->key == 0; }

template <class Node>
bool IsRed(const Node *n) {
  return n && n->color == 0;
}

// The node that takes `x`'s place under x's parent, or the root.
template <class Tree, class Node>
void Replace(Tree *tree, Node *x, Node *by) {
  Node *p = x->parent;
  if (by) by->parent = p;
  if (!p)
    tree->root = by;
  else if (p->left == x)
    p->left = by;
  else
    p->right = by;
}

// Rotations refuse a sentinel, a null node, or a node whose child on the
// rising side is a sentinel; they return the new top of the subtree.
template <class Tree, class Node>
Node *RotateLeft(Tree *tree, Node *x) {
  if (!x || IsSentinel(x) || !x->right || IsSentinel(x->right)) return x;
  Node *y = x->right;
  x->right = y->left;
  if (y->left) y->left->parent = x;
  Replace(tree, x, y);
  y->left = x;
  x->parent = y;
  return y;
}

template <class Tree, class Node>
Node *RotateRight(Tree *tree, Node *x) {
  if (!x || IsSentinel(x) || !x->left || IsSentinel(x->left)) return x;
  Node *y = x->left;
  x->left = y->right;
  if (y->right) y->right->parent = x;
  Replace(tree, x, y);
  y->right = x;
  x->parent = y;
  return y;
}

template <class Node>
Node *Sibling(Node *n) {
  Node *p = n->parent;
  return p->left == n ? p->right : p->left;
}

// Restores the red-black rules after `n` was coloured red at a leaf position.
template <class Tree, class Node>
void InsertRepair(Tree *tree, Node *n) {
  if (!n->parent) {
    n->color = 1;
    return;
  }
  Node *p = n->parent;
  if (!IsRed(p)) return;
  if (!p->parent) {
    p->color = 1;
    return;
  }
  Node *g = p->parent;
  Node *u = Sibling(p);
  // Recolouring climb: a red uncle lets the red pair move two levels up.
  while (IsRed(u) && IsRed(p)) {
    p->color = 1;
    u->color = 1;
    g->color = 0;
    if (!g->parent) {
      g->color = 1;
      return;
    }
    if (!g->parent->parent) {
      g->parent->color = 1;
      return;
    }
    n = g;
    p = n->parent;
    g = p->parent;
    u = Sibling(p);
  }
  if (!IsRed(p)) return;
  if (p == g->left) {
    if (n == p->right) {  // inner child: rotate it outward first
      RotateLeft(tree, p);
      n->color = 0;
      p->color = 0;
      std::swap(n, p);  // the old parent is now the current node
    }
    std::swap(p->color, g->color);
    RotateRight(tree, g);
  } else {
    if (n == p->left) {
      RotateRight(tree, p);
      n->color = 0;
      p->color = 0;
      std::swap(n, p);
    }
    std::swap(p->color, g->color);
    RotateLeft(tree, g);
  }
}

// Frees a whole subtree, sentinels included, without recursion: a left child
// is rotated up until the current node has none, then the node is freed and
// the walk goes right (the structure is being destroyed, so this needs no
// stack whatever the depth).
template <class Node, class FreeShell>
void DestroySubtree(Node *n, FreeShell freeShell) {
  while (n) {
    if (n->left) {
      Node *l = n->left;
      n->left = l->right;
      l->right = n;
      n = l;
    } else {
      Node *next = n->right;
      freeShell(n);
      n = next;
    }
  }
}

// Visits every node of a subtree in pre-order (node, left, right); `visit`
// returns false to stop. Sentinels are visited too: callers filter. Returns
// false when the walk could not allocate its stack.
template <class Node, class Visit>
bool PreOrder(Node *top, Visit visit) {
  return qvx::Guard(false, [&] {
    std::vector<Node *> stack;
    stack.reserve(64);
    if (top) stack.push_back(top);
    while (!stack.empty()) {
      Node *n = stack.back();
      stack.pop_back();
      if (!visit(n)) return true;
      if (n->right) stack.push_back(n->right);
      if (n->left) stack.push_back(n->left);
    }
    return true;
  });
}

// ---- RBST deletion ---------------------------------------------------------

void FreeValueOf(RBST *tree, RBSTNode *n) {
  if (tree->free_value && n->value) tree->free_value(n->value);
  n->value = nullptr;
}

bool IsEmptySlot(const RBSTNode *n) { return !n || IsSentinel(n); }

// Removes node z and returns the node that now stands where a node was
// unlinked: z itself turned into a sentinel, or the child that took z's
// place. Colour 2 on the returned node marks a double black to repair.
RBSTNode *Remove(RBST *tree, RBSTNode *z) {
  for (;;) {
    bool leftEmpty = IsEmptySlot(z->left), rightEmpty = IsEmptySlot(z->right);
    if (leftEmpty && rightEmpty) {
      // z becomes the sentinel of its own position.
      char *empty = qvx::DupText("", 0);
      if (!empty) return nullptr;
      FreeValueOf(tree, z);
      FreeNodeShell(z->left);
      FreeNodeShell(z->right);
      z->left = z->right = nullptr;
      if (reinterpret_cast<char *>(z + 1) == z->key) {  // key kept inside the node
        for (volatile char *p = z->key; *p; ++p) *p = 0;
      } else {
        WipeAndFree(z->key);
      }
      z->key = empty;
      z->color = z->color == 1 ? 2 : 1;
      return z;
    }
    if (leftEmpty || rightEmpty) {
      RBSTNode *child = leftEmpty ? z->right : z->left;
      RBSTNode *stub = leftEmpty ? z->left : z->right;
      child->color = (z->color == 1 && child->color == 1) ? 2 : 1;
      FreeValueOf(tree, z);
      FreeNodeShell(stub);
      Replace(tree, z, child);
      FreeNodeShell(z);
      return child;
    }
    // Two real children: the in-order predecessor's key and value move into
    // z, and the predecessor (which has no real right child) is removed.
    RBSTNode *pred = z->left;
    while (!IsEmptySlot(pred->right)) pred = pred->right;
    if (!qvx::SetNodeKey(z, pred->key)) return nullptr;
    FreeValueOf(tree, z);
    z->value = pred->value;
    pred->value = nullptr;
    z = pred;
  }
}

// Double-black repair: x carries one black too many on its path.
void RepairDoubleBlack(RBST *tree, RBSTNode *x) {
  while (x->parent) {
    RBSTNode *p = x->parent;
    bool xLeft = p->left == x;
    RBSTNode *s = xLeft ? p->right : p->left;
    if (!s) return;
    if (IsRed(s)) {  // red sibling: rotate it above the parent and retry
      std::swap(s->color, p->color);
      if (xLeft)
        RotateLeft(tree, p);
      else
        RotateRight(tree, p);
      continue;
    }
    if (!IsRed(s->left) && !IsRed(s->right)) {  // push the extra black up
      x->color = 1;
      s->color = 0;
      x = p;
      if (IsRed(p)) {
        p->color = 1;
        return;
      }
      continue;
    }
    if (xLeft) {
      if (IsRed(s->right)) {
        s->right->color = 1;
        std::swap(s->color, p->color);
        x->color = 1;
        RotateLeft(tree, p);
      } else {
        RBSTNode *c = s->left;
        c->color = 1;
        x->color = 1;
        std::swap(s->color, c->color);
        RotateRight(tree, s);
        std::swap(p->color, p->right->color);
        RotateLeft(tree, p);
      }
    } else {
      if (IsRed(s->left)) {
        s->left->color = 1;
        std::swap(s->color, p->color);
        x->color = 1;
        RotateRight(tree, p);
      } else {
        RBSTNode *c = s->right;
        c->color = 1;
        x->color = 1;
        std::swap(s->color, c->color);
        RotateLeft(tree, s);
        std::swap(p->color, p->left->color);
        RotateRight(tree, p);
      }
    }
    return;
  }
}

// ---- copying -----------------------------------------------------------------

RBSTNode *CopyShell(const RBST *tree, const RBSTNode *src, RBSTNode *parent) {
  RBSTNode *n = IsSentinel(src) ? NewSentinel(parent) : qvx::NewKeyedNode(src->key, std::strlen(src->key), nullptr, 0);
  if (!n) return nullptr;
  n->color = src->color;
  n->parent = parent;
  n->value = src->value;
  if (src->value && tree->copy_value) n->value = tree->copy_value(src->value);
  return n;
}

void ReleaseTree(RBST *tree) {
  if (!tree->root) return;
  if (tree->free_value) RBSTFreeValues(tree, tree->root);
  RBSTFreeNodes(tree, tree->root);
}

// ---- IntRBST -------------------------------------------------------------------

IntRBSTNode *NewIntSentinel(IntRBSTNode *parent) {
  auto *n = static_cast<IntRBSTNode *>(std::malloc(sizeof(IntRBSTNode)));
  if (!n) return nullptr;
  n->color = 1;
  n->left = n->right = nullptr;
  n->parent = parent;
  n->key = 0;
  n->value = nullptr;
  return n;
}

// ---- KeyList -------------------------------------------------------------------

KeyListEntry *NewEntry(const char *key, void *value) {
  auto *e = static_cast<KeyListEntry *>(std::malloc(sizeof(KeyListEntry)));
  if (!e) return nullptr;
  e->key = qvx::DupText(key);
  if (!e->key) {
    std::free(e);
    return nullptr;
  }
  e->value = value;
  e->next = e->prev = nullptr;
  return e;
}

void AppendEntry(KeyList *list, KeyListEntry *e) {
  e->prev = list->tail;
  e->next = nullptr;
  if (list->tail)
    list->tail->next = e;
  else
    list->head = e;
  list->tail = e;
  ++list->count;
}

}  // namespace

namespace qvx {
// Used by the stream readers in rbst_stream.cpp.
void KeyListAppend(KeyList *list, KeyListEntry *e) noexcept { AppendEntry(list, e); }
}  // namespace qvx

extern "C" {

// ---- RBST ----------------------------------------------------------------------

QVX_API RBST RBSTInitialize(FreeValueFn f, ReadValueFn r, WriteValueFn w, CopyValueFn c) noexcept {
  RBST t;
  t.root = NewSentinel(nullptr);
  t.free_value = f;
  t.write_value = w;
  t.read_value = r;
  t.copy_value = c;
  t.size = 0;
  return t;
}

QVX_API RBSTNode *RBSTFind(RBSTNode *root, const char *key) noexcept {
  if (!key) return nullptr;
  RBSTNode *n = root;
  while (n && !IsSentinel(n)) {
    // Keys are short names: an inline byte loop beats a library call. The
    // order is strcmp's (bytes as unsigned char), so the descent is the same.
    const unsigned char *a = reinterpret_cast<const unsigned char *>(key);
    const unsigned char *b = reinterpret_cast<const unsigned char *>(n->key);
    if (!b) {
      n = n->right;
      continue;
    }
    while (*a && *a == *b) {
      ++a;
      ++b;
    }
    const int c = static_cast<int>(*a) - static_cast<int>(*b);
    if (c == 0) return n;
    n = c < 0 ? n->left : n->right;
  }
  return nullptr;
}

QVX_API void RBSTInsert(RBST *tree, RBSTNode *root, const char *key, void *value) noexcept {
  if (!tree || !key) return;
  if (!tree->root) {  // a released record: give it a sentinel again
    tree->root = NewSentinel(nullptr);
    tree->size = 0;
    if (!tree->root) return;
    root = nullptr;
  }
  // One descent serves both the look-up and the search for the empty slot.
  RBSTNode *n = root ? root : tree->root;
  while (n && !IsSentinel(n)) {
    int c = std::strcmp(key, n->key);
    if (c == 0) {
      if (tree->free_value && n->value && n->value != value) tree->free_value(n->value);
      n->value = value;
      return;
    }
    n = c < 0 ? n->left : n->right;
  }
  if (!n) return;
  RBSTNode *node = qvx::NewKeyedNode(key, std::strlen(key), value, 0);
  if (!node) return;
  if (!qvx::ReplaceSentinel(tree, n, node)) {
    node->value = nullptr;
    FreeNodeShell(node);
    return;
  }
  ++tree->size;
  InsertRepair(tree, node);
}

QVX_API int32_t RBSTDelete(RBST *tree, RBSTNode *root, const char *key) noexcept {
  if (!tree || !key || tree->size < 1) return 0;
  RBSTNode *z = RBSTFind(root ? root : tree->root, key);
  if (!z) return 0;
  RBSTNode *x = Remove(tree, z);
  if (!x) return 0;
  --tree->size;
  if (x->color != 2) return 1;
  x->color = 1;
  if (x->parent) RepairDoubleBlack(tree, x);
  return 1;
}

QVX_API void RBSTFreeValues(RBST *tree, RBSTNode *node) noexcept {
  if (!tree || !tree->free_value) return;
  FreeValueFn f = tree->free_value;
  PreOrder(node, [f](RBSTNode *n) {
    if (n->value) f(n->value);
    n->value = nullptr;
    return true;
  });
}

QVX_API void RBSTFreeNodes(RBST *tree, RBSTNode *node) noexcept {
  if (!node) return;
  if (tree && (!node->parent || node == tree->root)) tree->root = nullptr;
  DestroySubtree(node, [](RBSTNode *n) { FreeNodeShell(n); });
}

QVX_API RBST RBSTCopy(RBST *tree) noexcept {
  if (!tree) return RBSTInitialize(nullptr, nullptr, nullptr, nullptr);
  RBST out = *tree;
  out.root = nullptr;
  if (!tree->root) {
    out.size = 0;
    return out;
  }
  bool ok = qvx::Guard(false, [&] {
    std::vector<std::pair<RBSTNode *, RBSTNode *>> stack;  // (source, copy)
    stack.reserve(64);
    out.root = CopyShell(tree, tree->root, nullptr);
    if (!out.root) return false;
    stack.emplace_back(tree->root, out.root);
    while (!stack.empty()) {
      auto [s, d] = stack.back();
      stack.pop_back();
      if (s->left) {
        if (!(d->left = CopyShell(tree, s->left, d))) return false;
        stack.emplace_back(s->left, d->left);
      }
      if (s->right) {
        if (!(d->right = CopyShell(tree, s->right, d))) return false;
        stack.emplace_back(s->right, d->right);
      }
    }
    return true;
  });
  if (!ok) {  // out of memory part-way: release the partial copy
    ReleaseTree(&out);
    RBST empty = RBSTInitialize(tree->free_value, tree->read_value, tree->write_value, tree->copy_value);
    return empty;
  }
  return out;
}

QVX_API void RBSTMerge(RBST *destination, RBST *source, RBSTNode *source_root, int32_t overwrite) noexcept {
  if (!destination || !source || destination == source) return;
  PreOrder(source_root, [&](RBSTNode *n) {
    if (IsSentinel(n)) return true;
    if (!overwrite && RBSTFind(destination->root, n->key)) {
      if (source->free_value && n->value) source->free_value(n->value);
      n->value = nullptr;
    } else {
      RBSTInsert(destination, destination->root, n->key, n->value);
    }
    return true;
  });
}

QVX_API void RBSTContainsAll(RBSTNode *node, RBSTNode *other_root, int32_t *flag) noexcept {
  if (!flag || *flag == 0) return;
  PreOrder(node, [&](RBSTNode *n) {
    if (IsSentinel(n) || RBSTFind(other_root, n->key)) return true;
    *flag = 0;
    return false;
  });
}

QVX_API void RBSTToList(RBST * /*tree*/, RBSTNode *node, KeyList *list) noexcept {
  if (!list || !node) return;
  // Right subtree, node, left subtree, each pushed at the front: the list
  // ends up ascending.
  qvx::GuardVoid([&] {
    std::vector<RBSTNode *> stack;
    stack.reserve(64);
    RBSTNode *n = node;
    while (!stack.empty() || (n && !IsSentinel(n))) {
      while (n && !IsSentinel(n)) {
        stack.push_back(n);
        n = n->right;
      }
      n = stack.back();
      stack.pop_back();
      KeyListPushFront(list, n->key, n->value);
      n = n->left;
    }
  });
}

// ---- IntRBST -------------------------------------------------------------------

QVX_API void freeRBNodeValueByteArray(void *value) noexcept {
  if (!value) return;
  std::free(*static_cast<void **>(value));
  std::free(value);
}

QVX_API IntRBST IntRBSTInitialize(void) noexcept {
  IntRBST t;
  t.root = NewIntSentinel(nullptr);
  t.free_value = freeRBNodeValueByteArray;
  t.write_value = nullptr;
  t.read_value = nullptr;
  t.copy_value = nullptr;
  t.size = 0;
  return t;
}

QVX_API IntRBSTNode *IntRBSTFind(IntRBSTNode *root, int32_t key) noexcept {
  IntRBSTNode *n = root;
  while (n && n->key != 0) {
    if (key == n->key) return n;
    n = key < n->key ? n->left : n->right;
  }
  return nullptr;
}

QVX_API void IntRBSTInsert(IntRBST *tree, IntRBSTNode *root, int32_t key, void *value) noexcept {
  if (!tree) return;
  if (!tree->root) {
    tree->root = NewIntSentinel(nullptr);
    tree->size = 0;
    if (!tree->root) return;
    root = nullptr;
  }
  IntRBSTNode *n = root ? root : tree->root;
  if (tree->size > 0) {
    if (IntRBSTNode *hit = IntRBSTFind(n, key)) {
      if (tree->free_value && hit->value && hit->value != value) tree->free_value(hit->value);
      hit->value = value;
      return;
    }
  }
  while (n && n->key != 0) n = key >= n->key ? n->right : n->left;
  if (!n || n->left || n->right) return;  // no empty slot where the walk ended
  IntRBSTNode *l = NewIntSentinel(n);
  IntRBSTNode *r = l ? NewIntSentinel(n) : nullptr;
  if (!r) {
    std::free(l);
    return;
  }
  n->key = key;
  n->value = value;
  n->color = 0;
  n->left = l;
  n->right = r;
  ++tree->size;
  InsertRepair(tree, n);
}

// Both walk by pointers, not by the key-0 test, so that a node stored under
// key 0 (which later walks take for a sentinel) is still released.
QVX_API void IntRBSTFreeValues(IntRBST *tree, IntRBSTNode *node) noexcept {
  if (!tree || !tree->free_value) return;
  FreeValueFn f = tree->free_value;
  PreOrder(node, [f](IntRBSTNode *n) {
    if (n->value) f(n->value);
    n->value = nullptr;
    return true;
  });
}

QVX_API void IntRBSTFreeNodes(IntRBST *tree, IntRBSTNode *node) noexcept {
  if (!node) return;
  if (tree && (!node->parent || node == tree->root)) tree->root = nullptr;
  DestroySubtree(node, [](IntRBSTNode *n) { std::free(n); });
}

// ---- KeyList -------------------------------------------------------------------

QVX_API void KeyListPushFront(KeyList *list, const char *key, void *value) noexcept {
  if (!list || !key) return;
  KeyListEntry *e = NewEntry(key, value);
  if (!e) return;
  e->next = list->head;
  if (list->head)
    list->head->prev = e;
  else
    list->tail = e;
  list->head = e;
  ++list->count;
}

QVX_API void KeyListClear(KeyList *list, int32_t free_values) noexcept {
  if (!list) return;
  if (free_values && list->free_value) {
    for (KeyListEntry *e = list->tail; e; e = e->prev) {
      if (e->value) list->free_value(e->value);
      e->value = nullptr;
    }
  }
  KeyListEntry *e = list->head;
  while (e) {
    KeyListEntry *next = e->next;
    WipeAndFree(e->key);
    std::free(e);
    e = next;
  }
  list->head = list->tail = nullptr;
  list->count = 0;
}

QVX_API void KeyListCopyRange(KeyList *list, KeyListEntry *first, KeyListEntry *end, KeyList *out) noexcept {
  if (!out) return;
  out->head = out->tail = nullptr;
  out->count = 0;
  if (!list) {
    out->free_value = nullptr;
    out->read_value = nullptr;
    out->write_value = nullptr;
    out->copy_value = nullptr;
    return;
  }
  out->free_value = list->free_value;
  out->read_value = list->read_value;
  out->write_value = list->write_value;
  out->copy_value = list->copy_value;
  for (KeyListEntry *e = first; e && e != end; e = e->next) {
    void *value = list->copy_value && e->value ? list->copy_value(e->value) : nullptr;
    KeyListEntry *c = NewEntry(e->key, value);
    if (!c) {
      if (value && list->free_value) list->free_value(value);
      return;
    }
    AppendEntry(out, c);
  }
}

}  // extern "C"
