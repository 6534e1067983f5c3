// Lists: cursor movement, adding and removing around the cursor, traversal,
// and null lists. Cursor scripts run one operation per step and check both
// its result and the whole list afterwards (order, ring links, cursor, count).
#include <koshr/lists.h>

#include <functional>
#include <sstream>
#include <vector>

#include "test_support.h"

namespace {

struct Step {
  const char* operation;  // "first", "next", "addafter x", ...
  const char* result;     // item text, "-" for none, or a flag "1"/"0"
  const char* state;      // items in order, the current one in brackets
};

struct Script {
  const char* name;
  const char* initial;  // items appended before the script runs
  std::vector<Step> steps;
};

class ListTest : public StorageTest {
 protected:
  void SetUp() override {
    StorageTest::SetUp();
    for (int i = 0; i < 26; ++i) items[i][0] = KOCHAR('a' + i), items[i][1] = 0;
    list = shlist_new(context, pool);
  }

  KOCHAR* item(char letter) { return items[letter - 'a']; }

  std::string run(const std::string& operation) {
    std::istringstream in(operation);
    std::string verb;
    char arg = 0;
    in >> verb >> arg;
    if (verb == "first") return narrow(shlist_get_first(list));
    if (verb == "last") return narrow(shlist_get_last(list));
    if (verb == "next") return narrow(shlist_get_next(list));
    if (verb == "prev") return narrow(shlist_get_prev(list));
    if (verb == "curr") return narrow(shlist_get_curr(list));
    if (verb == "remove") return narrow(shlist_remove(list));
    if (verb == "update") return narrow(shlist_update(list, item(arg)));
    if (verb == "addafter") return std::to_string(shlist_addafter(list, item(arg)));
    if (verb == "insert_at_curr") return std::to_string(shlist_insert_at_curr(list, item(arg)));
    if (verb == "addbefore") return std::to_string(shlist_addbefore(list, item(arg)));
    if (verb == "insert") return std::to_string(shlist_insert(list, item(arg)));
    ADD_FAILURE() << "unknown operation " << verb;
    return "";
  }

  KOCHAR items[26][2];
  shlistx* list = nullptr;
};

const Script kScripts[] = {
    {"next at the last node clears the cursor; first starts again",
     "abc",
     {{"last", "c", "a b [c]"}, {"next", "-", "a b c"}, {"next", "-", "a b c"},
      {"first", "a", "[a] b c"}, {"next", "b", "a [b] c"}}},
    {"prev mirrors next at the first node",
     "abc",
     {{"first", "a", "[a] b c"}, {"prev", "-", "a b c"}, {"curr", "-", "a b c"},
      {"last", "c", "a b [c]"}, {"prev", "b", "a [b] c"}}},
    {"addafter after running off the end is refused",
     "ab",
     {{"last", "b", "a [b]"}, {"next", "-", "a b"}, {"addafter x", "0", "a b"},
      {"insert_at_curr x", "0", "a b"}}},
    {"addafter the last node makes the new node last",
     "ab",
     {{"last", "b", "a [b]"}, {"addafter x", "1", "a b [x]"}, {"last", "x", "a b [x]"}}},
    {"addafter in the middle and on an empty list",
     "",
     {{"addafter a", "1", "[a]"}, {"addafter c", "1", "a [c]"}, {"first", "a", "[a] c"},
      {"insert_at_curr b", "1", "a [b] c"}}},
    {"insert appends wherever the cursor is",
     "ab",
     {{"first", "a", "[a] b"}, {"insert c", "1", "a b [c]"}, {"next", "-", "a b c"},
      {"insert d", "1", "a b c [d]"}}},
    {"addbefore the first node makes the new node first",
     "bc",
     {{"first", "b", "[b] c"}, {"addbefore a", "1", "[a] b c"}, {"first", "a", "[a] b c"},
      {"last", "c", "a b [c]"}, {"addbefore x", "1", "a b [x] c"}}},
    {"addbefore without a cursor is refused",
     "ab",
     {{"last", "b", "a [b]"}, {"next", "-", "a b"}, {"addbefore x", "0", "a b"}}},
    {"addbefore on an empty list", "", {{"addbefore a", "1", "[a]"}}},
    {"remove the last node leaves no cursor",
     "abc",
     {{"last", "c", "a b [c]"}, {"remove", "c", "a b"}, {"remove", "-", "a b"}}},
    {"remove the first node makes the new first current",
     "abc",
     {{"first", "a", "[a] b c"}, {"remove", "a", "[b] c"}, {"remove", "b", "[c]"},
      {"remove", "c", ""}, {"remove", "-", ""}}},
    {"remove a middle node moves to the next",
     "abcd",
     {{"first", "a", "[a] b c d"}, {"next", "b", "a [b] c d"}, {"remove", "b", "a [c] d"}}},
    {"update replaces the current item only",
     "ab",
     {{"update x", "-", "a b"}, {"first", "a", "[a] b"}, {"update x", "a", "[x] b"},
      {"curr", "x", "[x] b"}}},
    {"an empty list has nothing to visit",
     "",
     {{"first", "-", ""}, {"last", "-", ""}, {"next", "-", ""}, {"prev", "-", ""},
      {"update x", "-", ""}}},
};

TEST_F(ListTest, CursorScripts) {
  for (const Script& script : kScripts) {
    SCOPED_TRACE(script.name);
    shlist_delete(list);
    list = shlist_new(context, pool);
    for (const char* c = script.initial; *c; ++c) ASSERT_EQ(shlist_insert(list, item(*c)), 1);
    shlist_set_current(list, nullptr);
    for (const Step& step : script.steps) {
      SCOPED_TRACE(step.operation);
      EXPECT_EQ(run(step.operation), step.result);
      EXPECT_EQ(list_contents(list), step.state);
    }
  }
}

TEST_F(ListTest, NewListIsEmpty) {
  EXPECT_EQ(shlist_get_count(list), 0u);
  EXPECT_EQ(shlist_curr_node(list), nullptr);
  EXPECT_EQ(shlist_get_handle(list), nullptr);
}

TEST_F(ListTest, PutAfterLinksTheCallersNodeOrFreesIt) {
  auto* node = static_cast<ShListNode*>(kostg_alc(context, sizeof(ShListNode), pool));
  node->item = item('a');
  EXPECT_EQ(shlist_putafter(list, node), 1);
  EXPECT_EQ(shlist_get_handle(list), node);
  EXPECT_EQ(node->next, node);
  EXPECT_EQ(node->prev, node);
  shlist_get_next(list);  // runs off the end
  auto* refused = static_cast<ShListNode*>(kostg_alc(context, sizeof(ShListNode), pool));
  refused->item = item('b');
  EXPECT_EQ(shlist_putafter(list, refused), 0);
  EXPECT_EQ(shlist_get_count(list), 1u);
}

TEST_F(ListTest, TraversalVisitsInOrderAndStopsAtTheFirstZero) {
  struct Case {
    const char* items;
    int stop_at;  // index whose visit returns 0, -1 for none
    const char* visited;
    int result;
  };
  const Case cases[] = {
      {"", -1, "", 1},      {"abc", -1, "abc", 7},  {"abc", 0, "a", 0},
      {"abc", 1, "ab", 0},  {"abc", 2, "abc", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.items);
    shlist_delete(list);
    list = shlist_new(context, pool);
    for (const char* p = c.items; *p; ++p) shlist_insert(list, item(*p));
    shlist_get_first(list);
    struct Visit {
      std::string seen;
      int stop_at;
    } visit{"", c.stop_at};
    int result = shlist_traversal(list, &visit, [](void* it, void* arg) {
      auto* v = static_cast<Visit*>(arg);
      v->seen += narrow(it);
      return int(v->seen.size()) - 1 == v->stop_at ? 0 : 7;
    });
    EXPECT_EQ(visit.seen, c.visited);
    EXPECT_EQ(result, c.result);
    EXPECT_EQ(narrow(shlist_get_curr(list)), *c.items ? "a" : "-") << "cursor untouched";
  }
}

TEST_F(ListTest, NullListsAreRefused) {
  const std::vector<std::pair<const char*, std::function<bool()>>> calls = {
      {"get_first", [] { return shlist_get_first(nullptr) == nullptr; }},
      {"get_last", [] { return shlist_get_last(nullptr) == nullptr; }},
      {"get_next", [] { return shlist_get_next(nullptr) == nullptr; }},
      {"get_prev", [] { return shlist_get_prev(nullptr) == nullptr; }},
      {"get_curr", [] { return shlist_get_curr(nullptr) == nullptr; }},
      {"curr_node", [] { return shlist_curr_node(nullptr) == nullptr; }},
      {"get_handle", [] { return shlist_get_handle(nullptr) == nullptr; }},
      {"get_count", [] { return shlist_get_count(nullptr) == 0; }},
      {"addafter", [] { return shlist_addafter(nullptr, nullptr) == 0; }},
      {"insert_at_curr", [] { return shlist_insert_at_curr(nullptr, nullptr) == 0; }},
      {"putafter", [] { return shlist_putafter(nullptr, nullptr) == 0; }},
      {"insert", [] { return shlist_insert(nullptr, nullptr) == 0; }},
      {"addbefore", [] { return shlist_addbefore(nullptr, nullptr) == 0; }},
      {"update", [] { return shlist_update(nullptr, nullptr) == nullptr; }},
      {"remove", [] { return shlist_remove(nullptr) == nullptr; }},
      {"traversal", [] { return shlist_traversal(nullptr, nullptr, nullptr) == 0; }},
      {"sort", [] { return shlist_sort(nullptr, nullptr, 1) == 0; }},
      {"sort_param", [] { return shlist_sort_param(nullptr, nullptr, nullptr, 1) == nullptr; }},
      {"deleteFree", [] { return shlist_deleteFree(nullptr) == 0; }},
      {"delete", [] { shlist_delete(nullptr); shlist_set_current(nullptr, nullptr); return true; }},
  };
  for (const auto& [name, call] : calls) EXPECT_TRUE(call()) << name;
}

}  // namespace
