// Fuzz target: the ODBC driver's DBParm keywords (ConnectString, AutoCommit,
// Isolation, FetchBlockSize, TextBufferSize, Streaming) read through the
// front end's parser, and the connection strings built from log-in strings
// and with streaming settings.
#include "dbi/driver_services.h"
#include "dbi_fuzz_support.h"
#include "drivers/odbc/settings.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  size_t units = 0;
  auto text = dbi_fuzz::text_of(data, size, &units);
  DbiContext* context = dbi_fuzz::bare_context(text.get());
  context->services = ko::dbi::driver_services();
  ko::odbc::Settings settings;
  std::u16string error;
  if (ko::odbc::read_settings(context, settings, error)) {
    if (settings.fetch_block < 1 || settings.fetch_block > 4096 || settings.text_buffer < 16 ||
        settings.text_buffer > 1048576) {
      __builtin_trap();
    }
  }
  // The same text split in three as data source, user and password.
  const size_t third = units / 3;
  std::u16string parts[3] = {std::u16string(text.get(), third),
                             std::u16string(text.get() + third, third),
                             std::u16string(text.get() + 2 * third)};
  for (auto& part : parts) part = part.c_str();  // up to an embedded terminator
  ko::odbc::login_connect_string(parts[0].c_str(), parts[1].c_str(), parts[2].c_str());
  // The same text as a connection string given every streaming setting.
  ko::odbc::streaming_connect_string(std::u16string(text.get(), units), settings.fetch_block,
                                     ko::odbc::Streaming::kAll);
  return 0;
}
