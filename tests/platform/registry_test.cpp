// The registry: values written are read back, subkeys enumerate, deleting a
// key takes what is below it. On POSIX the store is a scratch INI file.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "platform/platform.h"
#include "environment.h"
#include "scratch_folder.h"

namespace {

using ko::os::Hive;

class Registry : public ::testing::Test {
 protected:
  void SetUp() override {
    ko_test::set_env("KOSHR_REGISTRY", ko_test::process_scratch_folder().file("registry.ini").string());
    ko::os::registry_delete_key(Hive::kCurrentUser, kRoot);
  }
  void TearDown() override { ko::os::registry_delete_key(Hive::kCurrentUser, kRoot); }

  static std::u16string get(const std::u16string& path, const KOCHAR* name) {
    KOCHAR out[128];
    if (!ko::os::registry_get_string(Hive::kCurrentUser, path.c_str(), name, out, 128)) {
      return u"<missing>";
    }
    return out;
  }

  static constexpr const KOCHAR* kRoot = u"Software\\KoshrPlatformTest";
};

TEST_F(Registry, ValuesRoundTrip) {
  const std::u16string key = std::u16string(kRoot) + u"\\Vendors\\Alpha";
  const KOCHAR* values[] = {u"plain", u"  padded  ", u"\"quoted\"", u"", u"\u00E9\u4E2D"};
  for (const KOCHAR* value : values) {
    ASSERT_TRUE(ko::os::registry_set_string(Hive::kCurrentUser, key.c_str(), u"Name", value));
    EXPECT_EQ(get(key, u"Name"), value);
  }
  ASSERT_TRUE(ko::os::registry_set_string(Hive::kCurrentUser, key.c_str(), nullptr, u"default"));
  EXPECT_EQ(get(key, nullptr), u"default");
  EXPECT_EQ(get(key, u"name"), u"\u00E9\u4E2D");
  EXPECT_EQ(get(key, u"Other"), u"<missing>");
  EXPECT_EQ(ko::os::last_error(), ko::os::kErrorFileNotFound);

  KOCHAR small[3];
  ASSERT_TRUE(ko::os::registry_set_string(Hive::kCurrentUser, key.c_str(), u"Long", u"abcdef"));
  EXPECT_FALSE(ko::os::registry_get_string(Hive::kCurrentUser, key.c_str(), u"Long", small, 3));
  EXPECT_EQ(ko::os::last_error(), ko::os::kErrorMoreData);

  EXPECT_TRUE(ko::os::registry_delete_value(Hive::kCurrentUser, key.c_str(), u"Name"));
  EXPECT_FALSE(ko::os::registry_delete_value(Hive::kCurrentUser, key.c_str(), u"Name"));
  EXPECT_EQ(get(key, u"Name"), u"<missing>");
  EXPECT_EQ(get(key, u"Long"), u"abcdef");
}

TEST_F(Registry, HivesAreSeparate) {
  ASSERT_TRUE(ko::os::registry_set_string(Hive::kCurrentUser, kRoot, u"v", u"user"));
  KOCHAR out[16];
  EXPECT_FALSE(ko::os::registry_get_string(Hive::kLocalMachine, kRoot, u"v", out, 16));
}

TEST_F(Registry, SubkeysEnumerateAndDeleteAsATree) {
  const std::u16string root = kRoot;
  for (const KOCHAR* leaf :
       {u"\\Vendors\\Alpha", u"\\Vendors\\Beta\\Deep", u"\\Vendors\\alpha\\X", u"\\Other"}) {
    ASSERT_TRUE(ko::os::registry_set_string(Hive::kCurrentUser, (root + leaf).c_str(), u"v", u"1"));
  }
  std::set<std::u16string> names;
  KOCHAR name[64];
  uint32_t index = 0;
  while (ko::os::registry_enum_subkey(Hive::kCurrentUser, (root + u"\\Vendors").c_str(), index,
                                      name, 64)) {
    names.insert(name);
    ++index;
  }
  EXPECT_EQ(index, 2u);
  EXPECT_EQ(names, (std::set<std::u16string>{u"Alpha", u"Beta"}));
  EXPECT_EQ(ko::os::last_error(), ko::os::kErrorNoMoreItems);

  EXPECT_TRUE(ko::os::registry_delete_key(Hive::kCurrentUser, (root + u"\\Vendors").c_str()));
  EXPECT_FALSE(
      ko::os::registry_enum_subkey(Hive::kCurrentUser, (root + u"\\Vendors").c_str(), 0, name, 64));
  EXPECT_EQ(get(root + u"\\Vendors\\Beta\\Deep", u"v"), u"<missing>");
  EXPECT_EQ(get(root + u"\\Other", u"v"), u"1");
}

TEST_F(Registry, RefusesNullArguments) {
  KOCHAR out[8];
  EXPECT_FALSE(ko::os::registry_get_string(Hive::kCurrentUser, nullptr, u"v", out, 8));
  EXPECT_FALSE(ko::os::registry_get_string(Hive::kCurrentUser, kRoot, u"v", nullptr, 8));
  EXPECT_FALSE(ko::os::registry_set_string(Hive::kCurrentUser, nullptr, u"v", u"x"));
  EXPECT_FALSE(ko::os::registry_set_string(Hive::kCurrentUser, kRoot, u"v", nullptr));
  EXPECT_FALSE(ko::os::registry_delete_key(Hive::kCurrentUser, nullptr));
  EXPECT_FALSE(ko::os::registry_enum_subkey(Hive::kCurrentUser, nullptr, 0, out, 8));
}

}  // namespace
