// A consumer of an installed KOSHR: a pool, a block, and the version.
#include <koshr/host.h>
#include <koshr/storage.h>

#include <cstdio>
#include <cstring>

int main() {
  KostgContext* context = kostg_begin(0);
  KostgSubpool* pool = kostg_new_pool(context);
  auto* text = static_cast<char*>(kostg_alc(context, 16, pool));
  if (text == nullptr) return 1;
  std::strcpy(text, "installed");
  std::printf("%s koshr %s\n", text, koshr_version());
  kostg_end(context);
  return 0;
}
