// storage_fixture.h: the fixture of every test that needs memory from the
// library: a storage context of its own, with one sub-pool, for each test.
#ifndef KOSHR_TESTS_COMMON_STORAGE_FIXTURE_H
#define KOSHR_TESTS_COMMON_STORAGE_FIXTURE_H

#include <gtest/gtest.h>
#include <koshr/storage.h>

#include <cstdint>

namespace ko_test {

class StorageTest : public ::testing::Test {
 protected:
  // `first_block` is kostg_begin's argument: 0 lets the context choose.
  explicit StorageTest(uint32_t first_block = 0) : first_block_(first_block) {}

  void SetUp() override {
    storage_ = kostg_begin(first_block_);
    ASSERT_NE(storage_, nullptr);
    subpool_ = kostg_new_pool(storage_);
    ASSERT_NE(subpool_, nullptr);
  }
  void TearDown() override {
    if (storage_ != nullptr) kostg_end(storage_);
  }

  KostgContext* storage_ = nullptr;
  KostgSubpool* subpool_ = nullptr;

 private:
  uint32_t first_block_;
};

}  // namespace ko_test

#endif
