// name_index_test.cpp: a handle that looks names up again after its own
// inserts, deletes, splits and node removals answers exactly as the walk of
// the tree does, names differing only in case included.
#include "library_fixture.h"

namespace {

using namespace library_test;

// Lookup result: the error code, or the seed whose pattern the entry holds.
int32_t lookup(LMI_HANDLE lib, std::u16string name) {
  if (LMI_OpenEntry(lib, name.data(), LMI_ENTRY_READ, nullptr) != 0) return -1;
  uint8_t first[4] = {};
  int32_t got = LMI_ReadEntry(lib, first, sizeof first);
  LMI_CloseEntry(lib);
  if (got != 4) return -2;
  for (uint32_t seed = 0; seed < 4096; ++seed) {
    Bytes p = pattern(4, seed);
    if (std::equal(p.begin(), p.end(), first)) return int32_t(seed);
  }
  return -3;
}

struct Step {
  bool add;  // false: delete
  std::u16string name;
};

std::u16string numbered(int i) { return u"n" + u16(std::to_string(i * 7919 % 1000)) + u".txt"; }

struct Scenario {
  const char* what;
  std::vector<Step> steps;
  std::vector<std::u16string> probes;
};

std::vector<Scenario> scenarios() {
  const std::u16string e_upper = u"\u00c9t\u00c9.txt", e_lower = u"\u00e9t\u00e9.txt";
  const std::u16string kelvin = u"\u212a.txt", k = u"k.txt";
  std::vector<Scenario> out;
  out.push_back({"case pairs added, then the lower one deleted",
                 {{true, e_upper}, {true, e_lower}, {true, kelvin}, {true, k}, {false, e_lower}, {false, k}},
                 {e_upper, e_lower, kelvin, k}});
  out.push_back({"delete then add again under the other case",
                 {{true, e_lower}, {false, e_lower}, {true, e_upper}, {true, u"a.txt"}, {false, u"a.txt"}},
                 {e_upper, e_lower, u"a.txt", u"b.txt"}});
  Scenario many{"enough names to split nodes, a third deleted", {}, {e_upper, e_lower}};
  for (int i = 0; i < 400; ++i) many.steps.push_back({true, numbered(i)});
  many.steps.push_back({true, e_upper});
  for (int i = 0; i < 400; i += 3) many.steps.push_back({false, numbered(i)});
  many.steps.push_back({true, e_lower});
  for (int i = 0; i < 400; i += 7) many.probes.push_back(numbered(i));
  out.push_back(many);
  Scenario emptied{"every name deleted, the root replaced on the way", {}, {u"n0.txt", e_upper}};
  for (int i = 0; i < 200; ++i) emptied.steps.push_back({true, numbered(i)});
  for (int i = 199; i >= 0; --i) emptied.steps.push_back({false, numbered(i)});
  emptied.steps.push_back({true, e_upper});
  for (int i = 0; i < 200; i += 9) emptied.probes.push_back(numbered(i));
  out.push_back(emptied);
  return out;
}

// Applies a step through a handle; the entry holds the pattern of `seed`.
void apply(LMI_HANDLE lib, const Step& step, uint32_t seed) {
  std::u16string name = step.name;
  if (!step.add) {
    ASSERT_EQ(LMI_DeleteEntry(lib, name.data()), 0);
    return;
  }
  ASSERT_EQ(LMI_OpenEntry(lib, name.data(), LMI_ENTRY_WRITE, nullptr), 0);
  Bytes data = pattern(4, seed);
  ASSERT_EQ(LMI_WriteEntry(lib, data.data(), 4), 4);
  ASSERT_EQ(LMI_CloseEntry(lib), 0);
}

class NameIndexTest : public LibraryTest {};

// Two files get the same steps. After each step the handle under test looks
// every probe up twice (the second answered from what the first found); the
// other looks each up once, right after its own change, so by walking the
// tree. Probes are distinct after lower-casing, so none answers another.
TEST_F(NameIndexTest, AnswersAsTheWalkAfterOwnChanges) {
  int n = 0;
  for (const Scenario& s : scenarios()) {
    SCOPED_TRACE(s.what);
    std::u16string tested_path = create("tested" + std::to_string(n) + ".kol");
    std::u16string walked_path = create("walked" + std::to_string(n++) + ".kol");
    LMI_HANDLE tested = open(tested_path), walked = open(walked_path);
    ASSERT_TRUE(tested && walked);
    uint32_t seed = 1;
    for (const Step& step : s.steps) {
      apply(tested, step, seed);
      apply(walked, step, seed++);
      for (const std::u16string& probe : s.probes) {
        int32_t once = lookup(tested, probe);
        ASSERT_EQ(lookup(tested, probe), once);
        ASSERT_EQ(lookup(walked, probe), once) << narrow(probe.c_str());
      }
    }
    LMI_CloseLibrary(walked);
    LMI_CloseLibrary(tested);
    expect_sound(tested_path);
  }
}

// A node's first scan compares every record; later scans compare only the
// records whose folded keys match. Both must answer alike: a fresh handle
// looks each probe up twice (the first lookup scans the last node of its path
// for the first time, the second scans it again unless the index answers,
// which it does only for a name found under its own case).
TEST_F(NameIndexTest, FirstAndLaterScansOfANodeAgree) {
  // Upper-case accented names between plain ones, so that searches for their
  // other case end inside a node's range and are decided by its scan.
  std::vector<std::u16string> stored;
  for (char c = 'a'; c <= 'z'; ++c) {
    stored.push_back(u"m" + std::u16string(1, char16_t(c)) + u".txt");
    stored.push_back(u"m\u00c9" + std::u16string(1, char16_t(c)) + u".txt");
    stored.push_back(u"m\u00ff" + std::u16string(1, char16_t(c)) + u".txt");
  }
  stored.push_back(u"\u212a.txt");
  for (int i = 0; i < 300; ++i) stored.push_back(numbered(i));
  std::u16string p = create();
  LMI_HANDLE lib = open(p);
  uint32_t seed = 1;
  for (const std::u16string& name : stored) apply(lib, {true, name}, seed++);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  std::vector<std::u16string> probes = {u"k.txt", u"\u212a.txt", u"K.TXT", u"zz.txt", numbered(7)};
  for (char c = 'a'; c <= 'z'; c += 5) {
    probes.push_back(u"m\u00e9" + std::u16string(1, char16_t(c)) + u".txt");
    probes.push_back(u"m\u00c9" + std::u16string(1, char16_t(c)) + u".txt");
    probes.push_back(u"m\u00e8" + std::u16string(1, char16_t(c)) + u".txt");
  }
  int found_by_folding = 0;
  for (const std::u16string& probe : probes) {
    SCOPED_TRACE(narrow(probe.c_str()));
    LMI_HANDLE fresh = open(p, LMI_MODE_READ);
    ASSERT_NE(fresh, nullptr);
    int32_t first = lookup(fresh, probe);
    EXPECT_EQ(lookup(fresh, probe), first);
    EXPECT_EQ(lookup(fresh, probe), first);
    found_by_folding += probe[1] == u'\u00e9' && first > 0;
    LMI_CloseLibrary(fresh);
  }
  EXPECT_GT(found_by_folding, 0) << "some lower-case probe ends in a scan";
}

}  // namespace
