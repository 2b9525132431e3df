// Dictionary tree, integer tree and key list, and their stream form.
//
// The shape of a tree is part of its stream form, so beside the red-black
// rules (checked after every step of a random run against std::map) a few
// small trees are compared byte for byte with their hand-derived streams.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "libquorvex.h"
#include "persistence/memfile.h"

static_assert(offsetof(RBSTNode, color) == 0 && offsetof(RBSTNode, left) < offsetof(RBSTNode, right) &&
              offsetof(RBSTNode, parent) < offsetof(RBSTNode, key) &&
              offsetof(RBSTNode, key) < offsetof(RBSTNode, value));
static_assert(offsetof(RBST, root) == 0 && offsetof(RBST, write_value) < offsetof(RBST, read_value) &&
              offsetof(RBST, copy_value) < offsetof(RBST, size));
static_assert(offsetof(KeyList, read_value) < offsetof(KeyList, write_value) &&
              offsetof(KeyList, copy_value) < offsetof(KeyList, count));

namespace {

// ---- owned test values: malloc'd ints, counted --------------------------------

int g_live = 0;  // values alive (allocated and not yet freed)

void *NewValue(int v) {
  ++g_live;
  int *p = static_cast<int *>(std::malloc(sizeof(int)));
  *p = v;
  return p;
}
void FreeValue(void *p) {
  --g_live;
  std::free(p);
}
void *CopyValue(void *p) { return NewValue(*static_cast<int *>(p)); }
int ValueOf(const void *p) { return *static_cast<const int *>(p); }

// Text values on a stream: int32 length and bytes.
void WriteText(void *v, void *stream, StreamMode mode) {
  const char *t = v ? static_cast<const char *>(v) : "";
  qvx::StreamWriteText(stream, mode, t, std::strlen(t));
}
void *ReadText(void *stream, StreamMode mode) { return qvx::StreamReadText(stream, mode); }
void FreeText(void *v) { std::free(v); }

RBST IntValueTree() { return RBSTInitialize(FreeValue, nullptr, nullptr, CopyValue); }
RBST TextValueTree() { return RBSTInitialize(FreeText, ReadText, WriteText, nullptr); }

template <class Tree>
void Release(Tree *t) {
  if (t->root && t->free_value) RBSTFreeValues(t, t->root);
  if (t->root) RBSTFreeNodes(t, t->root);
  t->size = 0;
  t->root = nullptr;
}
void Release(IntRBST *t) {
  if (t->root && t->free_value) IntRBSTFreeValues(t, t->root);
  if (t->root) IntRBSTFreeNodes(t, t->root);
  t->size = 0;
  t->root = nullptr;
}

// ---- structural checks ----------------------------------------------------------

bool Leaf(const RBSTNode *n) { return !n->left && !n->right; }
bool Leaf(const IntRBSTNode *n) { return n->key == 0; }
int Compare(const RBSTNode *a, const RBSTNode *b) { return std::strcmp(a->key, b->key); }
int Compare(const IntRBSTNode *a, const IntRBSTNode *b) { return a->key < b->key ? -1 : a->key > b->key; }

// Checks the red-black rules, parent links and sentinels of a subtree; returns
// its black height, or -1 with a failure recorded.
template <class Node>
int BlackHeight(const Node *n, const Node *parent, const Node *lo, const Node *hi, int *count) {
  if (!n) {
    ADD_FAILURE() << "null child";
    return -1;
  }
  if (n->parent != parent) ADD_FAILURE() << "broken parent link";
  if (Leaf(n)) {
    EXPECT_EQ(n->color, 1) << "sentinel not black";
    EXPECT_EQ(n->value, nullptr);
    return 1;
  }
  ++*count;
  if (lo) {
    EXPECT_GT(Compare(n, lo), 0) << "order";
  }
  if (hi) {
    EXPECT_LT(Compare(n, hi), 0) << "order";
  }
  EXPECT_TRUE(n->color == 0 || n->color == 1);
  if (n->color == 0 && parent) {
    EXPECT_EQ(parent->color, 1) << "red node under red parent";
  }
  int l = BlackHeight<Node>(n->left, n, lo, n, count);
  int r = BlackHeight<Node>(n->right, n, n, hi, count);
  EXPECT_EQ(l, r) << "unequal black heights";
  return l < 0 || r < 0 ? -1 : l + (n->color == 1);
}

template <class Tree>
void ExpectValidRedBlack(const Tree &t) {
  ASSERT_NE(t.root, nullptr);
  EXPECT_EQ(t.root->parent, nullptr);
  EXPECT_EQ(t.root->color, 1) << "root must be black";
  int count = 0;
  BlackHeight<std::remove_pointer_t<decltype(t.root)>>(t.root, nullptr, nullptr, nullptr, &count);
  EXPECT_EQ(count, t.size);
}

// Shape, colours, keys and (int) values of two trees, node for node.
void ExpectSameTree(const RBSTNode *a, const RBSTNode *b, bool textValues) {
  ASSERT_EQ(Leaf(a), Leaf(b));
  if (Leaf(a)) return;
  EXPECT_STREQ(a->key, b->key);
  EXPECT_EQ(a->color, b->color) << a->key;
  if (textValues) {
    EXPECT_STREQ(static_cast<char *>(a->value), static_cast<char *>(b->value));
  }
  ExpectSameTree(a->left, b->left, textValues);
  ExpectSameTree(a->right, b->right, textValues);
}

std::vector<unsigned char> Bytes(MemFile *m) { return {m->buffer, m->buffer + m->position}; }

// Stream of a tree with no value callbacks, as bytes.
std::vector<unsigned char> Encode(RBST *t) {
  WriteValueFn w = t->write_value;
  t->write_value = nullptr;
  MemFile *m = MemOpen(16);
  RBSTWrite(t, t->root, m, 0);
  t->write_value = w;
  auto out = Bytes(m);
  MemClose(m);
  return out;
}

// Hand-written stream: size, then (key, colour) pairs in pre-order.
std::vector<unsigned char> Expected(int size, std::vector<std::pair<std::string, int>> nodes) {
  std::vector<unsigned char> out;
  auto put = [&](int v) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<unsigned char>(v >> (8 * i)));
  };
  put(size);
  for (auto &[k, c] : nodes) {
    put(static_cast<int>(k.size()));
    out.insert(out.end(), k.begin(), k.end());
    put(c);
  }
  return out;
}

RBST TreeOf(std::initializer_list<const char *> keys) {
  RBST t = RBSTInitialize(nullptr, nullptr, nullptr, nullptr);
  for (const char *k : keys) RBSTInsert(&t, t.root, k, nullptr);
  return t;
}

// ---- the text-keyed tree ------------------------------------------------------------

TEST(Rbst, FreshTreeHasSentinelRootAndFindsNothing) {
  RBST t = IntValueTree();
  EXPECT_EQ(t.size, 0);
  ASSERT_NE(t.root, nullptr);
  EXPECT_TRUE(Leaf(t.root));
  EXPECT_EQ(t.root->color, 1);
  EXPECT_EQ(RBSTFind(t.root, ""), nullptr);
  EXPECT_EQ(RBSTFind(t.root, "a"), nullptr);
  EXPECT_EQ(RBSTDelete(&t, t.root, "a"), 0);
  EXPECT_EQ(t.size, 0);
  Release(&t);
  EXPECT_EQ(t.root, nullptr);
  RBSTInsert(&t, t.root, "a", NewValue(1));  // a released record: no crash, no leak
  EXPECT_EQ(RBSTDelete(&t, nullptr, "a"), t.root ? 1 : 0);
  Release(&t);
  EXPECT_EQ(g_live, 0);
}

// Keys in, hand-derived pre-order stream out. The deletion rows pin the
// predecessor rule (the node keeps the largest key of its left subtree) and
// both sibling cases of the double-black repair.
TEST(Rbst, ShapesMatchTheInsertionAndDeletionRecipe) {
  struct Case {
    std::vector<const char *> insert, remove;
    int size;
    std::vector<std::pair<std::string, int>> preorder;
  } cases[] = {
      {{"a", "b", "c"}, {}, 3, {{"b", 1}, {"a", 0}, {"c", 0}}},
      {{"b", "a", "c", "d"}, {}, 4, {{"b", 1}, {"a", 1}, {"c", 1}, {"d", 0}}},
      {{"c", "a", "b"}, {}, 3, {{"b", 1}, {"a", 0}, {"c", 0}}},  // inner child rotated out first
      {{"m", "f", "t"}, {"m"}, 2, {{"f", 1}, {"t", 0}}},          // predecessor, not successor
      {{"b", "a", "d", "c"}, {"b"}, 3, {{"c", 1}, {"a", 1}, {"d", 1}}},  // sibling's inner child red
      {{"b", "a", "c", "d"}, {"a"}, 3, {{"c", 1}, {"b", 1}, {"d", 1}}},  // sibling's outer child red
      {{"d", "b", "f", "a", "c", "e", "g", "h"}, {"a", "c", "b"}, 5,
       {{"f", 1}, {"d", 1}, {"e", 0}, {"g", 1}, {"h", 0}}},  // red sibling rotated first
      {{"x"}, {"x"}, 0, {}},
  };
  for (auto &c : cases) {
    RBST t = RBSTInitialize(nullptr, nullptr, nullptr, nullptr);
    for (const char *k : c.insert) RBSTInsert(&t, t.root, k, nullptr);
    for (const char *k : c.remove) EXPECT_EQ(RBSTDelete(&t, t.root, k), 1) << k;
    EXPECT_EQ(Encode(&t), Expected(c.size, c.preorder)) << c.insert.size() << " keys, first " << c.insert[0];
    ExpectValidRedBlack(t);
    Release(&t);
  }
}

TEST(Rbst, ReinsertingAKeyReplacesTheValueOnly) {
  RBST t = IntValueTree();
  for (const char *k : {"k", "c", "x", "a"}) RBSTInsert(&t, t.root, k, NewValue(1));
  auto before = Encode(&t);
  RBSTInsert(&t, t.root, "c", NewValue(2));
  EXPECT_EQ(Encode(&t), before);
  EXPECT_EQ(t.size, 4);
  EXPECT_EQ(g_live, 4) << "the replaced value is freed exactly once";
  EXPECT_EQ(ValueOf(RBSTFind(t.root, "c")->value), 2);
  Release(&t);
  EXPECT_EQ(g_live, 0);
}

TEST(Rbst, EmptyKeyIsAnOrdinaryKey) {
  RBST t = IntValueTree();
  RBSTInsert(&t, t.root, "b", NewValue(1));
  RBSTInsert(&t, t.root, "", NewValue(2));
  RBSTNode *n = RBSTFind(t.root, "");
  ASSERT_NE(n, nullptr);
  EXPECT_EQ(ValueOf(n->value), 2);
  EXPECT_EQ(RBSTDelete(&t, t.root, ""), 1);
  EXPECT_EQ(RBSTFind(t.root, ""), nullptr);
  EXPECT_EQ(RBSTDelete(&t, t.root, "b"), 1);
  EXPECT_EQ(t.size, 0);
  EXPECT_TRUE(Leaf(t.root));
  EXPECT_EQ(t.root->color, 1);
  EXPECT_EQ(g_live, 0);
  Release(&t);
}

// Random insertions and deletions over a small key space, so that hits,
// misses, re-insertions and every repair case occur; the tree is checked
// against std::map and the red-black rules after every step.
TEST(Rbst, RandomOperationsKeepInvariantsAndMatchMap) {
  std::mt19937 rng(12345);
  RBST t = IntValueTree();
  std::map<std::string, int> ref;
  for (int step = 0; step < 3000; ++step) {
    std::string key = "k" + std::to_string(rng() % 200);
    int v = static_cast<int>(rng() % 1000);
    if (rng() % 3) {
      RBSTInsert(&t, t.root, key.c_str(), NewValue(v));
      ref[key] = v;
    } else {
      EXPECT_EQ(RBSTDelete(&t, t.root, key.c_str()), ref.erase(key) ? 1 : 0);
    }
    ExpectValidRedBlack(t);
    ASSERT_EQ(t.size, static_cast<int>(ref.size()));
    ASSERT_EQ(g_live, t.size);
    if (HasFailure()) FAIL() << "at step " << step;
  }
  for (auto &[k, v] : ref) {
    RBSTNode *n = RBSTFind(t.root, k.c_str());
    ASSERT_NE(n, nullptr) << k;
    EXPECT_EQ(ValueOf(n->value), v);
  }
  // Ascending flattening and a sub-range copy.
  KeyList list{nullptr, nullptr, FreeValue, nullptr, nullptr, CopyValue, 0};
  RBSTToList(&t, t.root, &list);
  ASSERT_EQ(list.count, t.size);
  auto it = ref.begin();
  for (KeyListEntry *e = list.head; e; e = e->next, ++it) {
    EXPECT_EQ(e->key, it->first);
    EXPECT_EQ(e->value, RBSTFind(t.root, e->key)->value) << "values are shared, not copied";
  }
  KeyList part;
  KeyListCopyRange(&list, list.head->next, list.tail, &part);
  EXPECT_EQ(part.count, list.count - 2);
  EXPECT_STREQ(part.head->key, list.head->next->key);
  EXPECT_NE(part.head->value, list.head->next->value);
  KeyListClear(&part, 1);
  KeyListClear(&list, 0);
  EXPECT_EQ(g_live, t.size);
  while (!ref.empty()) {  // delete everything, in an order unrelated to the keys
    auto victim = std::next(ref.begin(), static_cast<long>(rng() % ref.size()));
    EXPECT_EQ(RBSTDelete(&t, t.root, victim->first.c_str()), 1);
    ref.erase(victim);
    ExpectValidRedBlack(t);
  }
  EXPECT_EQ(g_live, 0);
  Release(&t);
}

TEST(Rbst, CopyKeepsShapeAndCopiesOrSharesValues) {
  RBST t = IntValueTree();
  for (int i = 0; i < 50; ++i) RBSTInsert(&t, t.root, std::to_string(i * 7 % 50).c_str(), NewValue(i));
  RBST c = RBSTCopy(&t);
  EXPECT_EQ(c.size, t.size);
  EXPECT_EQ(c.free_value, t.free_value);
  ExpectSameTree(t.root, c.root, false);
  ExpectValidRedBlack(c);
  EXPECT_NE(RBSTFind(c.root, "7")->value, RBSTFind(t.root, "7")->value);
  EXPECT_EQ(ValueOf(RBSTFind(c.root, "7")->value), ValueOf(RBSTFind(t.root, "7")->value));
  EXPECT_EQ(g_live, 100);
  Release(&c);

  t.copy_value = nullptr;  // without a copy callback the words are shared
  RBST s = RBSTCopy(&t);
  EXPECT_EQ(RBSTFind(s.root, "7")->value, RBSTFind(t.root, "7")->value);
  RBSTFreeNodes(&s, s.root);
  EXPECT_EQ(s.root, nullptr);
  Release(&t);
  EXPECT_EQ(g_live, 0);
}

TEST(Rbst, MergeOverwritesOrKeepsDestinationValues) {
  for (int overwrite : {0, 1}) {
    RBST dst = IntValueTree(), src = IntValueTree();
    RBSTInsert(&dst, dst.root, "a", NewValue(1));
    RBSTInsert(&dst, dst.root, "b", NewValue(2));
    RBSTInsert(&src, src.root, "b", NewValue(20));
    RBSTInsert(&src, src.root, "c", NewValue(30));
    RBSTMerge(&dst, &src, src.root, overwrite);
    RBSTFreeNodes(&src, src.root);  // the source's nodes only, never its values
    EXPECT_EQ(dst.size, 3);
    EXPECT_EQ(ValueOf(RBSTFind(dst.root, "b")->value), overwrite ? 20 : 2);
    EXPECT_EQ(ValueOf(RBSTFind(dst.root, "c")->value), 30);
    EXPECT_EQ(g_live, 3) << "overwrite " << overwrite;
    Release(&dst);
  }
}

TEST(Rbst, ContainsAllStopsAtFirstMissingKey) {
  RBST big = TreeOf({"a", "b", "c", "d"}), small = TreeOf({"b", "d"}), other = TreeOf({"b", "e"});
  int32_t flag = 1;
  RBSTContainsAll(small.root, big.root, &flag);
  EXPECT_EQ(flag, 1);
  RBSTContainsAll(other.root, big.root, &flag);
  EXPECT_EQ(flag, 0);
  flag = 1;
  RBSTContainsAll(big.root, small.root, &flag);
  EXPECT_EQ(flag, 0);
  for (RBST *t : {&big, &small, &other}) Release(t);
}

// ---- the integer-keyed tree -------------------------------------------------------

TEST(IntRbst, InsertFindReplaceAndFreeByteArrays) {
  IntRBST t = IntRBSTInitialize();
  EXPECT_EQ(t.free_value, freeRBNodeValueByteArray);
  std::mt19937 rng(7);
  std::map<int32_t, int> ref;
  for (int i = 0; i < 400; ++i) {
    int32_t key = static_cast<int32_t>(rng() % 301) - 150;
    if (key == 0) continue;
    MemFile *m = MemOpen(4);
    IntRBSTInsert(&t, t.root, key, m);  // a re-used key frees the old byte array
    ref[key] = 1;
    ExpectValidRedBlack(t);
    ASSERT_EQ(t.size, static_cast<int>(ref.size()));
  }
  for (auto &[k, v] : ref) EXPECT_NE(IntRBSTFind(t.root, k), nullptr) << k;
  EXPECT_EQ(IntRBSTFind(t.root, 1000), nullptr);

  // Key 0 makes a node every later walk takes for a sentinel; releasing the
  // tree must still free it and its value.
  IntRBSTInsert(&t, t.root, 0, MemOpen(8));
  EXPECT_EQ(IntRBSTFind(t.root, 0), nullptr);
  Release(&t);
}

// ---- stream form --------------------------------------------------------------------

RBST SampleTextTree(int n, std::mt19937 &rng) {
  RBST t = TextValueTree();
  for (int i = 0; i < n; ++i) {
    std::string k = "key" + std::to_string(rng() % 1000);
    std::string v(rng() % 12, static_cast<char>('a' + i % 26));
    RBSTInsert(&t, t.root, k.c_str(), strdup(v.c_str()));
  }
  for (int i = 0; i < n / 3; ++i) RBSTDelete(&t, t.root, ("key" + std::to_string(rng() % 1000)).c_str());
  return t;
}

TEST(RbstStream, EmptyTreeIsFourZeroBytes) {
  RBST t = TextValueTree();
  MemFile *m = MemOpen(1);
  RBSTWrite(&t, t.root, m, 0);
  EXPECT_EQ(Bytes(m), (std::vector<unsigned char>{0, 0, 0, 0}));
  RBSTInsert(&t, t.root, "left over", strdup("v"));
  MemSetBufPos(m, 0);
  RBSTRead(&t, m, 0);
  EXPECT_EQ(t.size, 0);
  EXPECT_TRUE(Leaf(t.root));
  MemClose(m);
  Release(&t);
}

TEST(RbstStream, WrittenTreeReadsBackWithSameShapeInBothModes) {
  std::mt19937 rng(99);
  RBST t = SampleTextTree(300, rng);
  // Memory mode.
  MemFile *m = MemOpen(8);
  RBSTWrite(&t, t.root, m, 0);
  uint32_t length = m->position;
  MemSetBufPos(m, 0);
  RBST back = TextValueTree();
  RBSTRead(&back, m, 0);
  EXPECT_EQ(m->position, length);
  EXPECT_EQ(back.size, t.size);
  ExpectSameTree(t.root, back.root, true);
  ExpectValidRedBlack(back);
  // File mode gives the same bytes and the same tree.
  FILE *f = std::tmpfile();
  ASSERT_NE(f, nullptr);
  RBSTWrite(&t, t.root, f, 1);
  std::rewind(f);
  MemFile *fromFile = MemFRead(f);
  ASSERT_NE(fromFile, nullptr);
  EXPECT_EQ(std::vector<unsigned char>(fromFile->buffer, fromFile->buffer + fromFile->size), Bytes(m));
  std::rewind(f);
  RBST back2 = TextValueTree();
  RBSTRead(&back2, f, 1);
  ExpectSameTree(t.root, back2.root, true);
  std::fclose(f);
  MemClose(fromFile);
  MemClose(m);
  for (RBST *x : {&t, &back, &back2}) Release(x);
}

TEST(RbstStream, KeyListRoundTripKeepsOrderAndValues) {
  KeyList list{nullptr, nullptr, FreeText, ReadText, WriteText, nullptr, 0};
  for (const char *k : {"z", "", "m", "a"}) KeyListPushFront(&list, k, strdup(k));
  MemFile *m = MemOpen(4);
  KeyListWrite(&list, list.head, nullptr, list.count, m, 0);
  MemSetBufPos(m, 0);
  KeyList back{nullptr, nullptr, FreeText, ReadText, WriteText, nullptr, 0};
  KeyListPushFront(&back, "stale", strdup("x"));
  KeyListRead(&back, m, 0);
  ASSERT_EQ(back.count, 4);
  const char *want[] = {"a", "m", "", "z"};
  int i = 0;
  for (KeyListEntry *e = back.head; e; e = e->next, ++i) {
    EXPECT_STREQ(e->key, want[i]);
    EXPECT_STREQ(static_cast<char *>(e->value), want[i]);
  }
  EXPECT_EQ(back.tail->prev->next, back.tail);
  // A range stops before `end`; the count field is the caller's.
  MemSetBufPos(m, 0);
  KeyListWrite(&list, list.head, list.tail, 3, m, 0);
  MemSetBufPos(m, 0);
  KeyListRead(&back, m, 0);
  EXPECT_EQ(back.count, 3);
  EXPECT_STREQ(back.tail->key, "");
  KeyListClear(&list, 1);
  KeyListClear(&back, 1);
  MemClose(m);
}

// Parent links, sentinels and node count of a tree of any content.
int CheckLinks(const RBSTNode *n, const RBSTNode *parent) {
  EXPECT_EQ(n->parent, parent);
  if (Leaf(n)) return 0;
  EXPECT_TRUE(n->left && n->right) << "a real node has two children";
  if (!n->left || !n->right) return 0;
  return 1 + CheckLinks(n->left, n) + CheckLinks(n->right, n);
}

// Feeds bytes (in an exact-size heap block, so that ASan sees any read past
// its end) to both readers; the tree must be well formed whatever its keys.
void Feed(const std::vector<unsigned char> &bytes) {
  auto *buf = static_cast<unsigned char *>(std::malloc(bytes.empty() ? 1 : bytes.size()));
  if (!bytes.empty()) std::memcpy(buf, bytes.data(), bytes.size());
  MemFile *in = MemWrapperOpen(buf, static_cast<uint32_t>(bytes.size()));
  if (!in) {
    std::free(buf);
    return;
  }
  RBST r = TextValueTree();
  RBSTRead(&r, in, 0);
  EXPECT_LE(in->position, in->size);
  EXPECT_EQ(CheckLinks(r.root, nullptr), r.size);
  RBSTInsert(&r, r.root, "probe", strdup("p"));
  EXPECT_NE(RBSTFind(r.root, "probe"), nullptr);
  Release(&r);
  in->position = 0;
  KeyList l{nullptr, nullptr, FreeText, ReadText, WriteText, nullptr, 0};
  KeyListRead(&l, in, 0);
  EXPECT_LE(in->position, in->size);
  KeyListClear(&l, 1);
  MemClose(in);
}

TEST(RbstStream, DamagedStreamsNeverReadOutsideTheBuffer) {
  std::mt19937 rng(2024);
  RBST t = SampleTextTree(40, rng);
  MemFile *m = MemOpen(8);
  RBSTWrite(&t, t.root, m, 0);
  std::vector<unsigned char> good = Bytes(m);
  MemClose(m);
  Release(&t);

  for (std::size_t cut = 0; cut < good.size(); ++cut) Feed({good.begin(), good.begin() + cut});
  for (int round = 0; round < 300; ++round) {  // a few bytes overwritten
    std::vector<unsigned char> bad = good;
    for (int i = 0, flips = 1 + static_cast<int>(rng() % 6); i < flips; ++i)
      bad[rng() % bad.size()] = static_cast<unsigned char>(rng());
    Feed(bad);
  }
  for (int round = 0; round < 300; ++round) {  // noise, half of it with a small size field
    std::vector<unsigned char> noise(rng() % 64);
    for (auto &b : noise) b = static_cast<unsigned char>(rng());
    if (noise.size() >= 4 && round % 2) noise[1] = noise[2] = noise[3] = 0;
    Feed(noise);
  }
}

}  // namespace
