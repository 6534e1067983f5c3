// A storage context (and a sub-pool) opened for each test and ended after it.
#ifndef KOSHR_TESTS_CONTAINERS_STORAGE_FIXTURE_H
#define KOSHR_TESTS_CONTAINERS_STORAGE_FIXTURE_H

#include <gtest/gtest.h>
#include <koshr/storage.h>

#include <string>

class StorageTest : public testing::Test {
 protected:
  void SetUp() override {
    context = kostg_begin(0);
    ASSERT_NE(context, nullptr);
    pool = kostg_new_pool(context);
  }
  void TearDown() override { kostg_end(context); }

  KostgContext* context = nullptr;
  KostgSubpool* pool = nullptr;
};

inline std::string narrow(const void* text) {
  std::string out;
  if (!text) return "-";
  for (auto* p = static_cast<const KOCHAR*>(text); *p; ++p) out += char(*p);
  return out;
}

#endif
