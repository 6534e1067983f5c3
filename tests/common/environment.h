// environment.h: setting and clearing the environment variables a test runs under.
#ifndef KOSHR_TESTS_COMMON_ENVIRONMENT_H
#define KOSHR_TESTS_COMMON_ENVIRONMENT_H

#include <cstdlib>
#include <string>

namespace ko_test {

// Sets `name` to `value`; a null value removes it.
inline void set_env(const char* name, const char* value) {
#ifdef _WIN32
  _putenv_s(name, value != nullptr ? value : "");
#else
  if (value != nullptr) {
    setenv(name, value, 1);
  } else {
    unsetenv(name);
  }
#endif
}

inline void set_env(const char* name, const std::string& value) { set_env(name, value.c_str()); }

}  // namespace ko_test

#endif
