// Lists: scripts of cursor moves, additions and removals, each step checked
// for its result and for the whole list afterwards; traversal; null lists.
#include <koshr/lists.h>

#include <sstream>
#include <vector>

#include "test_support.h"

namespace {

struct Step {
  const char* operation;  // "first", "addafter x", ...
  const char* result;     // the item's text, "-" for none, or the flag "1"/"0"
  const char* state;      // as list_contents prints it
};

struct Script {
  const char* name;
  const char* initial;  // items appended first, leaving no current position
  std::vector<Step> steps;
};

const Script kScripts[] = {
    {"next at the last node clears the cursor; first starts again", "abc",
     {{"last", "c", "a b [c]"}, {"next", "-", "a b c"}, {"next", "-", "a b c"},
      {"first", "a", "[a] b c"}, {"next", "b", "a [b] c"}}},
    {"prev mirrors next at the first node", "abc",
     {{"first", "a", "[a] b c"}, {"prev", "-", "a b c"}, {"curr", "-", "a b c"},
      {"last", "c", "a b [c]"}, {"prev", "b", "a [b] c"}}},
    {"addafter after running off the end is refused", "ab",
     {{"last", "b", "a [b]"}, {"next", "-", "a b"}, {"addafter x", "0", "a b"},
      {"insert_at_curr x", "0", "a b"}, {"addbefore x", "0", "a b"}}},
    {"addafter links after the cursor, last stays last or becomes new", "",
     {{"addafter a", "1", "[a]"}, {"addafter c", "1", "a [c]"}, {"first", "a", "[a] c"},
      {"insert_at_curr b", "1", "a [b] c"}, {"last", "c", "a b [c]"}, {"addafter d", "1", "a b c [d]"},
      {"last", "d", "a b c [d]"}}},
    {"insert appends wherever the cursor is", "ab",
     {{"first", "a", "[a] b"}, {"insert c", "1", "a b [c]"}, {"next", "-", "a b c"},
      {"insert d", "1", "a b c [d]"}}},
    {"addbefore the first node makes the new node first", "bc",
     {{"first", "b", "[b] c"}, {"addbefore a", "1", "[a] b c"}, {"first", "a", "[a] b c"},
      {"last", "c", "a b [c]"}, {"addbefore x", "1", "a b [x] c"}}},
    {"addbefore on an empty list", "", {{"addbefore a", "1", "[a]"}}},
    {"remove: the last leaves no cursor, the first makes the new first current", "abcd",
     {{"last", "d", "a b c [d]"}, {"remove", "d", "a b c"}, {"remove", "-", "a b c"},
      {"first", "a", "[a] b c"}, {"remove", "a", "[b] c"}, {"remove", "b", "[c]"},
      {"remove", "c", ""}, {"remove", "-", ""}}},
    {"remove a middle node moves to the next", "abcd",
     {{"first", "a", "[a] b c d"}, {"next", "b", "a [b] c d"}, {"remove", "b", "a [c] d"}}},
    {"update replaces the current item only", "ab",
     {{"update x", "-", "a b"}, {"first", "a", "[a] b"}, {"update x", "a", "[x] b"},
      {"curr", "x", "[x] b"}}},
    {"an empty list has nothing to visit", "",
     {{"first", "-", ""}, {"last", "-", ""}, {"next", "-", ""}, {"prev", "-", ""}}},
};

class ListTest : public StorageTest {
 protected:
  void SetUp() override {
    StorageTest::SetUp();
    for (int i = 0; i < 26; ++i) items[i][0] = KOCHAR('a' + i), items[i][1] = 0;
  }

  std::string run(shlistx* list, const std::string& operation) {
    std::istringstream in(operation);
    std::string verb;
    char arg = 'a';
    in >> verb >> arg;
    KOCHAR* item = items[arg - 'a'];
    if (verb == "first") return narrow(shlist_get_first(list));
    if (verb == "last") return narrow(shlist_get_last(list));
    if (verb == "next") return narrow(shlist_get_next(list));
    if (verb == "prev") return narrow(shlist_get_prev(list));
    if (verb == "curr") return narrow(shlist_get_curr(list));
    if (verb == "remove") return narrow(shlist_remove(list));
    if (verb == "update") return narrow(shlist_update(list, item));
    if (verb == "addafter") return std::to_string(shlist_addafter(list, item));
    if (verb == "insert_at_curr") return std::to_string(shlist_insert_at_curr(list, item));
    if (verb == "addbefore") return std::to_string(shlist_addbefore(list, item));
    if (verb == "insert") return std::to_string(shlist_insert(list, item));
    ADD_FAILURE() << "unknown operation " << verb;
    return "";
  }

  shlistx* make(const char* initial) {
    shlistx* list = shlist_new(storage_, subpool_);
    for (const char* c = initial; *c; ++c) shlist_insert(list, items[*c - 'a']);
    shlist_set_current(list, nullptr);
    return list;
  }

  KOCHAR items[26][2];
};

TEST_F(ListTest, CursorScripts) {
  for (const Script& script : kScripts) {
    SCOPED_TRACE(script.name);
    shlistx* list = make(script.initial);
    for (const Step& step : script.steps) {
      SCOPED_TRACE(step.operation);
      EXPECT_EQ(run(list, step.operation), step.result);
      EXPECT_EQ(list_contents(list), step.state);
    }
  }
}

TEST_F(ListTest, PutAfterLinksTheCallersNodeOrFreesIt) {
  shlistx* list = make("");
  auto* node = static_cast<ShListNode*>(kostg_alc(storage_, sizeof(ShListNode), subpool_));
  node->item = items[0];
  EXPECT_EQ(shlist_putafter(list, node), 1);
  EXPECT_EQ(shlist_get_handle(list), node);
  shlist_get_next(list);  // runs off the end
  auto* refused = static_cast<ShListNode*>(kostg_alc(storage_, sizeof(ShListNode), subpool_));
  EXPECT_EQ(shlist_putafter(list, refused), 0);
  EXPECT_EQ(list_contents(list), "a");
}

TEST_F(ListTest, TraversalVisitsInOrderAndStopsAtTheFirstZero) {
  struct Case {
    const char* items;
    int stop_at;  // the visit (0-based) that returns 0, -1 for none
    const char* visited;
    int result;
  };
  for (const Case& c : {Case{"", -1, "", 1}, Case{"abc", -1, "abc", 7}, Case{"abc", 0, "a", 0},
                        Case{"abc", 2, "abc", 0}}) {
    shlistx* list = make(c.items);
    struct Visit {
      std::string seen;
      int stop_at;
    } visit{"", c.stop_at};
    int result = shlist_traversal(list, &visit, [](void* item, void* arg) {
      auto* v = static_cast<Visit*>(arg);
      v->seen += narrow(item);
      return int(v->seen.size()) - 1 == v->stop_at ? 0 : 7;
    });
    EXPECT_EQ(visit.seen, c.visited);
    EXPECT_EQ(result, c.result);
    EXPECT_EQ(shlist_curr_node(list), nullptr) << "the cursor is not used";
  }
}

TEST(ListNull, NullListsAreRefused) {
  shlistx* none = nullptr;
  shlist_delete(none);
  shlist_set_current(none, nullptr);
  EXPECT_TRUE(!shlist_get_first(none) && !shlist_get_last(none) && !shlist_get_next(none) &&
              !shlist_get_prev(none) && !shlist_get_curr(none) && !shlist_curr_node(none) &&
              !shlist_get_handle(none) && !shlist_get_count(none) && !shlist_update(none, none) &&
              !shlist_remove(none) && !shlist_sort_param(none, none, nullptr, 1));
  EXPECT_EQ(shlist_addafter(none, none) | shlist_insert_at_curr(none, none) |
                shlist_putafter(none, nullptr) | shlist_insert(none, none) |
                shlist_addbefore(none, none) | shlist_traversal(none, none, nullptr) |
                shlist_sort(none, nullptr, 1) | shlist_deleteFree(none),
            0);
}

}  // namespace
