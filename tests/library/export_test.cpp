// export_test.cpp: the export header, tilde escaping and the hex-ASCII section.
#include "library_fixture.h"
#include "platform/utf16.h"

#include <cstring>

using namespace library_test;

namespace {

class ExportTest : public LibraryTest {
 protected:
  std::u16string escape(const std::u16string& text, bool decrypt) {
    KOCHAR* out = decrypt ? LMI_DecryptSpecialChars(storage_, text.c_str()) : LMI_EncryptSpecialChars(storage_, text.c_str());
    std::u16string result = out;
    EXPECT_GE(kostg_sz(storage_, out), 2 * (result.size() + 1));
    kostg_fee(storage_, out);
    return result;
  }
  std::u16string hex(LMI_HANDLE lib, const char* name) {
    std::u16string n = u16(name);
    KOCHAR* text = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(LMI_GetHexAsciiForEntry(lib, n.data(), storage_, &text, &length), 0);
    std::u16string out(text ? text : u"", length);
    kostg_fee(storage_, text);
    return out;
  }
};

TEST_F(ExportTest, Escaping) {
  struct Case {
    std::u16string plain, escaped;
  } cases[] = {{u"a~b", u"a~~b"}, {u"t\tn\nr\r", u"t~tn~nr~r"}, {u"", u""}, {u"plain", u"plain"}};
  for (const Case& c : cases) {
    EXPECT_EQ(escape(c.plain, false), c.escaped);
    EXPECT_EQ(escape(c.escaped, true), c.plain);
  }
  struct Kept {
    std::u16string in, out;
  } kept[] = {{u"~x", u"~x"}, {u"end~", u"end~"}, {u"~~~", u"~~"}, {u"~~~t", u"~\t"}};
  for (const Kept& k : kept) EXPECT_EQ(escape(k.in, true), k.out);
  EXPECT_EQ(LMI_EncryptSpecialChars(nullptr, u"x"), nullptr);
  EXPECT_EQ(LMI_DecryptSpecialChars(storage_, nullptr), nullptr);
}

TEST_F(ExportTest, HeaderLines) {
  struct Case {
    const char16_t* comment;
    std::u16string expected;
  } cases[] = {
      {u"", u"$KOExportHeader$report.txt\r\n"},
      {u"   ", u"$KOExportHeader$report.txt\r\n"},
      {u" two\tparts~ ", u"$KOExportHeader$report.txt\r\n$KOExportComments$two~tparts~~\r\n"},
  };
  for (const Case& c : cases) {
    LMI_ENTRY_INFO_EX info{};
    std::memcpy(info.name, u"report.txt", 22);
    std::u16string comment = c.comment;
    std::memcpy(info.comment, comment.c_str(), 2 * (comment.size() + 1));
    KOCHAR buffer[LMI_EXPORT_HEADER_MAX];
    uint32_t length = 0;
    ASSERT_EQ(LMI_Build_Export_Header(storage_, &info, buffer, &length), 0);
    EXPECT_EQ(std::u16string(buffer, length), c.expected);
  }
  KOCHAR buffer[LMI_EXPORT_HEADER_MAX];
  uint32_t length;
  EXPECT_EQ(LMI_Build_Export_Header(storage_, nullptr, buffer, &length), -7);
}

TEST_F(ExportTest, HexSectionLines) {
  std::u16string p = create();
  LMI_HANDLE lib = open(p);
  const uint8_t six[] = {1, 2, 3, 4, 5, 6};
  ASSERT_EQ(put(lib, "six.bin", Bytes(six, six + 6)), 0);
  std::u16string text = hex(lib, "six.bin");
  std::u16string start = u"\r\nStart of Korvane Binary Data Section : Do NOT Edit\r\n";
  ASSERT_EQ(text.substr(0, start.size()), start);
  uint32_t sum = 0;
  for (char16_t c : std::u16string(u"six.bin")) sum += c;
  auto digit = [](uint32_t value) { return char16_t(ko::kHexDigitsUpper[value & 15]); };
  std::u16string header = std::u16string(u"0") + digit(sum) + u"six.bin \r\n";
  EXPECT_EQ(text.substr(start.size(), header.size()), header);
  std::u16string data = text.substr(start.size() + header.size(), 3996);
  EXPECT_EQ(data.substr(0, 2), std::u16string(u"2") + digit(0x04030201 + 0x00000605));
  EXPECT_EQ(data.substr(2, 16), u"0403020100000605");
  EXPECT_EQ(data.substr(18, 3976), std::u16string(3976, u'0'));
  EXPECT_EQ(data.substr(3994), u"\r\n");
  std::u16string end = std::u16string(u"1") + digit(sum) +
                       u"six.bin \r\nEnd of Korvane Binary Data Section : No Source Expected After This Point\r\n";
  EXPECT_EQ(text.substr(start.size() + header.size() + 3996), end);

  // Read back: padded with zero bytes to 1996.
  std::u16string back = u"copy.bin";
  ASSERT_EQ(LMI_EntryFromHexAscii(lib, back.data(), text.c_str(), uint32_t(text.size())), 0);
  Bytes expected(1996, 0);
  std::memcpy(expected.data(), six, 6);
  EXPECT_EQ(get(lib, "copy.bin"), expected);
  LMI_CloseLibrary(lib);
  expect_sound(p);
}

TEST_F(ExportTest, ChunkQuirksAreKept) {
  std::u16string p = create();
  LMI_HANDLE lib = open(p);
  struct Case {
    size_t size;
    size_t carried;  // bytes of the entry that come back unchanged
  } cases[] = {{5, 4}, {1, 0}, {4, 4}, {1996, 1996}, {1997, 1996}, {4000, 4000}, {4001, 4000}};
  for (const Case& c : cases) {
    Bytes data = pattern(c.size, uint32_t(c.size));
    std::string name = "q" + std::to_string(c.size) + ".bin";
    ASSERT_EQ(put(lib, name, data), 0);
    std::u16string text = hex(lib, name.c_str());
    std::u16string back = u16("r" + name);
    ASSERT_EQ(LMI_EntryFromHexAscii(lib, back.data(), text.c_str(), uint32_t(text.size())), 0);
    Bytes got = get(lib, "r" + name);
    ASSERT_EQ(got.size() % 1996, 0u) << c.size;
    ASSERT_GE(got.size(), c.carried);
    EXPECT_TRUE(std::equal(data.begin(), data.begin() + long(c.carried), got.begin())) << c.size;
    if (c.carried < c.size) {
      EXPECT_EQ(got[c.carried], 0) << "the dropped byte comes back as zero";
    }
  }
  LMI_CloseLibrary(lib);
  expect_sound(p);
}

// The section handed out a line at a time is the joined one, line for line;
// a sink that stops stops the stream with its answer and leaves no entry open.
TEST_F(ExportTest, StreamedSectionIsTheJoinedOne) {
  std::u16string p = create();
  LMI_HANDLE lib = open(p);
  ASSERT_EQ(put(lib, "s.bin", pattern(5000, 3)), 0);
  struct Sink {
    std::vector<std::u16string> lines;
    size_t stop_after = SIZE_MAX;
  };
  auto take = [](void* context, const KOCHAR* text, uint32_t units) -> int32_t {
    Sink* sink = static_cast<Sink*>(context);
    if (sink->lines.size() == sink->stop_after) return 42;
    sink->lines.emplace_back(text, units);
    return 0;
  };
  Sink all;
  std::u16string name = u"S.bin";
  ASSERT_EQ(LMI_StreamHexAsciiForEntry(lib, name.data(), take, &all), 0);
  std::u16string joined;
  for (const auto& line : all.lines) {
    EXPECT_EQ(line.substr(line.size() - 2), u"\r\n");
    joined += line;
  }
  EXPECT_EQ(joined, hex(lib, "s.bin"));
  EXPECT_EQ(all.lines.size(), 2u + 3u + 1u) << "marker, header, three data lines, end";
  Sink stopping;
  stopping.stop_after = 3;
  EXPECT_EQ(LMI_StreamHexAsciiForEntry(lib, name.data(), take, &stopping), 42);
  EXPECT_EQ(stopping.lines.size(), 3u);
  EXPECT_EQ(LMI_StreamHexAsciiForEntry(lib, name.data(), nullptr, nullptr), LMI_E_NO_RESULT);
  EXPECT_EQ(LMI_StreamHexAsciiForEntry(nullptr, name.data(), take, &all), LMI_E_NO_HANDLE);
  std::u16string missing = u"none.bin";
  EXPECT_EQ(LMI_StreamHexAsciiForEntry(lib, missing.data(), take, &all), LMI_E_NOT_FOUND);
  EXPECT_EQ(get(lib, "s.bin"), pattern(5000, 3)) << "no entry was left open";
  LMI_CloseLibrary(lib);
}

TEST_F(ExportTest, DecodingRefusals) {
  std::u16string p = create();
  LMI_HANDLE lib = open(p);
  std::u16string name = u"x.bin";
  std::u16string text = u"no marker here";
  EXPECT_EQ(LMI_EntryFromHexAscii(lib, name.data(), text.c_str(), uint32_t(text.size())), -4);
  EXPECT_EQ(LMI_EntryExists(lib, name.data()), -12) << "the entry is not touched";
  EXPECT_EQ(LMI_EntryFromHexAscii(nullptr, name.data(), text.c_str(), 1), -6);
  KOCHAR* out = nullptr;
  uint32_t length = 7;
  EXPECT_EQ(LMI_GetHexAsciiForEntry(lib, name.data(), storage_, &out, &length), -12);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(length, 0u);
  LMI_CloseLibrary(lib);
}

}  // namespace
