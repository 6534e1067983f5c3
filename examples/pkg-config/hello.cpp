// hello.cpp: a C++ program built with the flags pkg-config gives for koshr:
//   c++ -std=c++17 hello.cpp $(pkg-config --cflags --libs koshr) -o hello
// A pool, a string through the library's UTF-8 conversions, and the version.
#include <koshr/host.h>
#include <koshr/storage.h>
#include <koshr/strings.h>
#include <koshr/version.h>

#include <cstdio>
#include <string>

int main() {
  KostgContext* context = kostg_begin(0);
  KostgSubpool* pool = kostg_new_pool(context);
  auto* wide = static_cast<KOCHAR*>(kostg_alc(context, 64 * sizeof(KOCHAR), pool));
  if (wide == nullptr) return 1;
  kostg_UTF8toUCS2(wide, "grüße from C++");
  std::string back(64, '\0');
  back.resize(size_t(kostg_UCS2toUTF8(back.data(), wide, int64_t(back.size()))));
  std::printf("%s (koshr %s, headers %d.%d.%d)\n", back.c_str(), koshr_version(),
              KOSHR_VERSION_MAJOR, KOSHR_VERSION_MINOR, KOSHR_VERSION_PATCH);
  kostg_end(context);
  return 0;
}
