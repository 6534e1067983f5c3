/*
 * demo_pools.cpp: the tour's stop for storage contexts, sub-pools and their
 * statistics.
 */
#include <koshr/storage.h>

#include <cstdio>
#include <string>

#include "command.h"
#include "utf.h"

namespace {

uint64_t held(KostgContext* context) {
  uint64_t counters[6];
  return uint64_t(kostg_stat(context, counters));
}

int tour_pools(const std::string&) {
  KostgContext* context = kostg_begin(0);
  if (!context) return koshr_tool::fail("demo", "cannot open a storage context");
  std::printf("A storage context holds %llu bytes before its first block.\n",
              (unsigned long long)held(context));

  KostgSubpool* parse = kostg_new_pool(context);
  KostgSubpool* output = kostg_new_pool(context);
  std::printf("Two sub-pools, named \"%s\" and \"%s\".\n",
              koshr_tool::utf16_to_utf8(kostg_set_pool_name(context, parse, u"parse")).c_str(),
              koshr_tool::utf16_to_utf8(kostg_set_pool_name(context, output, u"output")).c_str());

  std::printf("\nBlocks come in size classes; the usable size of each request:\n");
  for (uint64_t size : {5ull, 9ull, 100ull, 300ull, 5000ull, 100000ull})
    std::printf("  %7llu bytes asked -> %7u usable\n", (unsigned long long)size,
                kostg_sz(context, kostg_alc(context, size, parse)));
  std::printf("  (without a sub-pool, 5 bytes take the 8-byte fixed path: %u usable)\n",
              kostg_sz(context, kostg_alc(context, 5, nullptr)));

  for (int i = 0; i < 100000; ++i) kostg_alc(context, 24, parse);
  void* line = kostg_alc(context, 16, output);
  for (uint64_t size = 32; size <= 65536; size += 16)
    line = kostg_realc(context, line, size, output);
  std::printf(
      "\n100,000 small blocks in \"parse\" and one grown to 64 KB in \"output\":\n"
      "  the context now holds %llu bytes.\n",
      (unsigned long long)held(context));

  kostg_free_pool(context, parse);
  std::printf("Releasing \"parse\" frees all its blocks at once: %llu bytes remain.\n",
              (unsigned long long)held(context));

  uint64_t counters[6];
  kostg_stat(nullptr, counters);
  std::printf("The process default pool holds %llu bytes.\n", (unsigned long long)counters[2]);
  kostg_end(context);
  std::printf("kostg_end released the context and everything in it.\n");
  return 0;
}

}  // namespace

KOSHR_DEMO_STOP(10, "Memory pools: contexts, sub-pools and their statistics", &tour_pools);
