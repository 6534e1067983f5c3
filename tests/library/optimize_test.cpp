// optimize_test.cpp: LMI_OptimizeLibrary keeps every entry byte for byte with
// its comment, version and time stamp, keeps the header and the source-control
// data, reclaims leaked blocks, and leaves a balanced tree of nodes and each
// entry's data in one run of blocks, checked on the file's own bytes.
#include "library_fixture.h"

#include "platform/platform.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <random>

using namespace library_test;

namespace {

// What a library shows through the interface, to compare before and after.
struct Snapshot {
  std::vector<std::string> listing;  // name, sizes, time, version, comment of each entry
  std::map<std::string, Bytes> objects;
  std::string header;
  Bytes scc;
};

class OptimizeTest : public LibraryTest {
 protected:
  Snapshot snapshot(const std::u16string& p) {
    Snapshot s;
    LMI_HANDLE h = open(p, LMI_MODE_READ);
    EXPECT_NE(h, nullptr);
    if (!h) return s;
    LMI_LIST_ITEM* items = nullptr;
    int32_t count = LMI_ListEntriesExtended(h, storage_, &items);
    for (int32_t i = 0; i < count; ++i) {
      const LMI_LIST_ITEM& it = items[i];
      s.listing.push_back(narrow(it.name) + "|" + std::to_string(it.objectSize) + "|" +
                          std::to_string(it.dataSize) + "|" + std::to_string(it.timeStamp) + "|" +
                          narrow(it.version) + "|" + narrow(it.comment));
      s.objects[narrow(it.name)] = get(h, narrow(it.name));
    }
    kostg_fee(storage_, items);
    LMI_LIBRARY_INFO info;
    EXPECT_EQ(LMI_LibraryInformation(h, &info), 0);
    s.header = narrow(info.comment) + "|" + std::to_string(info.timeStamp) + "|" +
               std::to_string(info.type);
    void* scc = nullptr;
    uint32_t length = 0;
    if (LMI_GetSCCDataBuffer(h, storage_, &scc, &length) == 0 && scc) {
      s.scc.assign(static_cast<uint8_t*>(scc), static_cast<uint8_t*>(scc) + length);
      kostg_fee(storage_, scc);
    }
    LMI_CloseLibrary(h);
    return s;
  }

  // Walks the tree in the file: the deepest path, in nodes, and the node count.
  static void tree_shape(const Bytes& file, uint32_t base, uint32_t offset, uint32_t level,
                         uint32_t* depth, uint32_t* nodes) {
    ASSERT_LE(offset + 3072u, file.size());
    ASSERT_EQ(std::memcmp(file.data() + offset, "NOD*", 4), 0);
    ++*nodes;
    *depth = std::max(*depth, level);
    for (uint32_t link : {u32_at(file, offset + 4), u32_at(file, offset + 12)})
      if (link) tree_shape(file, base, link, level + 1, depth, nodes);
  }

  // Every data chain in the file runs through consecutive blocks, stepping
  // only over the bitmap block at the start of a 2 MB range.
  static void expect_runs(const Bytes& file, uint32_t base, uint32_t offset) {
    for (uint32_t pos = 32; pos < 32 + 3040u - u16_at(file, offset + 16);) {
      uint32_t next = u32_at(file, offset + pos + 12);
      while (next) {
        uint32_t after = u32_at(file, next + 4);
        if (after) {
          uint32_t step = after - next;
          bool over_bitmap = step == 1024 && ((after - base) / 512) % 4032 == 1;
          EXPECT_TRUE(step == 512 || over_bitmap)
              << "chain jumps from 0x" << std::hex << next << " to 0x" << after;
        }
        next = after;
      }
      pos += 28 + u16_at(file, offset + pos + 26);
    }
    for (uint32_t link : {u32_at(file, offset + 4), u32_at(file, offset + 12)})
      if (link) expect_runs(file, base, link);
  }

  void optimize_and_compare(const std::string& name, uint32_t base) {
    std::u16string p = path(name);
    Snapshot before = snapshot(p);
    ASSERT_EQ(LMI_OptimizeLibrary(storage_, p.c_str()), 0);
    EXPECT_FALSE(std::filesystem::exists(file(name + ".optimizing")));
    expect_sound(p);
    Snapshot after = snapshot(p);
    EXPECT_EQ(after.listing, before.listing);
    EXPECT_EQ(after.header, before.header);
    EXPECT_EQ(after.scc, before.scc);
    ASSERT_EQ(after.objects.size(), before.objects.size());
    for (auto& [entry, data] : before.objects) EXPECT_TRUE(after.objects[entry] == data) << entry;
    Bytes bytes = file_bytes(name);
    uint32_t depth = 0, nodes = 0;
    tree_shape(bytes, base, base + 1536, 1, &depth, &nodes);
    EXPECT_LE(depth, uint32_t(std::floor(std::log2(double(nodes)))) + 1) << nodes << " nodes";
    expect_runs(bytes, base, base + 1536);
  }
};

TEST_F(OptimizeTest, KeepsEverythingAndLeavesABalancedCompactLibrary) {
  struct Case {
    const char* what;
    int entries;
    bool name_order;
    size_t size;
  };
  const Case cases[] = {
      {"empty", 0, true, 0},
      {"one node", 20, true, 700},
      {"written in name order", 600, true, 64},
      {"written in random order", 600, false, 1500},
  };
  int n = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::string name = "lib" + std::to_string(n++) + ".kol";
    std::u16string p = create(name, u"library comment");
    std::vector<int> order(size_t(c.entries));
    for (int i = 0; i < c.entries; ++i) order[size_t(i)] = i;
    if (!c.name_order) std::shuffle(order.begin(), order.end(), std::mt19937(3));
    LMI_HANDLE h = open(p);
    for (int i : order) {
      char entry[64];
      std::snprintf(entry, sizeof entry, "document_%06d.txt", i);
      ASSERT_EQ(put(h, entry, pattern(i % 7 ? c.size + size_t(i) : 0, uint32_t(i)),
                    i % 3 ? u"" : u"commented"),
                0);
    }
    // Replaced and deleted entries leave holes for the rewrite to close.
    for (int i = 0; i < c.entries; i += 5) {
      char entry[64];
      std::snprintf(entry, sizeof entry, "document_%06d.txt", i);
      std::u16string e = u16(entry);
      ASSERT_EQ(i % 10 ? put(h, entry, pattern(c.size / 2, 7)) : LMI_DeleteEntry(h, e.data()), 0);
    }
    if (c.entries > 100) {
      std::u16string e = u16("document_000001.txt");
      ASSERT_EQ(LMI_SetEntryVersion(h, e.data(), u"0702"), 0);
    }
    ASSERT_EQ(LMI_CloseLibrary(h), 0);
    optimize_and_compare(name, 0);
  }
}

TEST_F(OptimizeTest, EntriesAcrossBitmapRangesAndSourceControlData) {
  std::u16string p = create("big.kol");
  LMI_HANDLE h = open(p);
  ASSERT_EQ(put(h, "small_a.bin", pattern(3000, 1)), 0);
  ASSERT_EQ(put(h, "large.bin", pattern(5 * 1024 * 1024 + 77, 2), u"five megabytes"), 0);
  for (int i = 0; i < 40; ++i)
    ASSERT_EQ(put(h, "mid_" + std::to_string(i) + ".bin", pattern(100000, uint32_t(i))), 0);
  Bytes scc(4 + 516 * 3, 0);
  std::memcpy(scc.data(), "SCC*", 4);
  scc[4] = 'x';
  ASSERT_EQ(LMI_SetSCCDataBuffer(h, scc.data(), uint32_t(scc.size())), 0);
  ASSERT_EQ(LMI_CloseLibrary(h), 0);
  optimize_and_compare("big.kol", 0);
}

TEST_F(OptimizeTest, LeakedBlocksAreReclaimed) {
  std::u16string p = create();
  LMI_HANDLE h = open(p);
  for (int i = 0; i < 50; ++i)
    ASSERT_EQ(put(h, "e" + std::to_string(i) + ".dat", pattern(900, uint32_t(i))), 0);
  ASSERT_EQ(LMI_CloseLibrary(h), 0);
  // A replace that fails once its data and bitmap are written, but not its
  // node, leaves its new chain marked used with nothing referencing it.
  for (uint64_t fault_at = 0;; ++fault_at) {
    h = open(p);
    ko::os::set_write_fault({ko::os::WriteFaultKind::kFail, fault_at});
    put(h, "e7.dat", pattern(20000, 9));
    LMI_CloseLibrary(h);
    uint64_t calls = ko::os::write_calls_seen();
    ko::os::clear_write_fault();
    bool leaked = false;
    for (auto& f : check(p)) leaked |= f.first == LMI_CHECK_LEAKED;
    if (leaked || calls <= fault_at) break;
  }
  ASSERT_FALSE(check(p).empty()) << "the failed write leaked nothing to reclaim";
  optimize_and_compare("lib.kol", 0);
}

TEST_F(OptimizeTest, ALibraryInAHostKeepsItsHostAndBase) {
  Bytes host = pattern(1300, 4);
  host[0] = 'Q';
  write_file("host.bin", host);
  std::u16string p = path("host.bin");
  LMI_HANDLE h = LMI_AppendExecutable(storage_, p.c_str(), u"carried");
  ASSERT_NE(h, nullptr);
  for (int i = 0; i < 200; ++i)
    ASSERT_EQ(put(h, "n" + std::to_string(1000 + i) + ".dat", pattern(300, uint32_t(i))), 0);
  ASSERT_EQ(LMI_CloseExecutable(h), 0);
  optimize_and_compare("host.bin", 1536);
  Bytes image = file_bytes("host.bin");
  EXPECT_TRUE(std::equal(host.begin(), host.end(), image.begin()));
  EXPECT_EQ(std::memcmp(image.data() + image.size() - 512, "TRL*", 4), 0);
}

TEST_F(OptimizeTest, RefusalsLeaveTheFileAlone) {
  std::u16string p = create();
  LMI_HANDLE h = open(p);
  ASSERT_EQ(put(h, "a.dat", pattern(600, 1)), 0);
  ASSERT_EQ(LMI_CloseLibrary(h), 0);
  Bytes sound = file_bytes("lib.kol");
  // Damage: the entry's data start points into the header.
  Bytes damaged = sound;
  damaged[1536 + 32 + 12] = 0;
  damaged[1536 + 32 + 13] = 2;
  write_file("lib.kol", damaged);
  EXPECT_EQ(LMI_OptimizeLibrary(storage_, p.c_str()), LMI_E_IO);
  EXPECT_EQ(file_bytes("lib.kol"), damaged);
  EXPECT_EQ(LMI_OptimizeLibrary(storage_, path("missing.kol").c_str()), LMI_E_NO_HANDLE);
  EXPECT_EQ(LMI_OptimizeLibrary(storage_, nullptr), LMI_E_NAME);
  EXPECT_EQ(LMI_OptimizeLibrary(nullptr, p.c_str()), LMI_E_NO_POOL);
  // A failing write of the new file leaves the old one as it was.
  write_file("lib.kol", sound);
  ko::os::set_write_fault({ko::os::WriteFaultKind::kFail, 1});
  EXPECT_NE(LMI_OptimizeLibrary(storage_, p.c_str()), 0);
  ko::os::clear_write_fault();
  EXPECT_EQ(file_bytes("lib.kol"), sound);
  EXPECT_FALSE(std::filesystem::exists(file("lib.kol.optimizing")));
}

}  // namespace
