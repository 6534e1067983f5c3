// save_file_test.cpp: the framework under the exporters: the encodings of the
// text file, buffer boundaries, the base name, and Begin's refusals.
#include "platform/platform.h"
#include "saveas/export_table.h"
#include "saveas/save_context.h"

namespace saveas_test {
namespace {

class SaveFileTest : public SaveTest {
 protected:
  void TearDown() override {
    ko::save_set_buffer_size(0);
    SaveTest::TearDown();
  }

  std::string write_text(int32_t encoding, const std::u16string& text) {
    std::filesystem::path file = path("text.bin");
    ko::SaveFile out;
    std::u16string name = file.u16string();
    EXPECT_TRUE(ko::osFileOpenNew32(&out, storage_, subpool_, name.c_str(), encoding));
    // Written in pieces of every size, so the pieces straddle buffer ends.
    for (size_t at = 0, piece = 1; at < text.size(); at += piece, piece = piece % 4 + 1) {
      size_t n = std::min(piece, text.size() - at);
      EXPECT_EQ(ko::osFileWrite32(&out, text.data() + at, n), n);
    }
    EXPECT_EQ(ko::osFileClose(&out, storage_, true), 1);
    return read_bytes(file);
  }
};

TEST_F(SaveFileTest, EncodesTextInEachEncoding) {
  const std::u16string text = u"A\u00e9\u20ac\U0001F600z";
  struct Case {
    int32_t encoding;
    std::string bytes;
  } cases[] = {
      {KOSAVE_ENCODING_UTF8, "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z"},
      {KOSAVE_ENCODING_UTF8_BOM, "\xEF\xBB\xBF" "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z"},
      {KOSAVE_ENCODING_UTF16LE_BOM,
       std::string("\xFF\xFE" "A\0\xE9\0\xAC\x20\x3D\xD8\x00\xDEz\0", 14)},
      {KOSAVE_ENCODING_UTF16BE_BOM,
       std::string("\xFE\xFF\0A\0\xE9\x20\xAC\xD8\x3D\xDE\x00\0z", 14)},
  };
  for (size_t buffer : {size_t(0), size_t(2), size_t(3), size_t(5)}) {
    ko::save_set_buffer_size(buffer);
    for (const Case& c : cases) {
      EXPECT_EQ(write_text(c.encoding, text), c.bytes)
          << "encoding " << c.encoding << ", buffer " << buffer;
    }
  }
  // The code page keeps ASCII as it stands, whatever the code page is.
  EXPECT_EQ(write_text(KOSAVE_ENCODING_ANSI, u"plain ASCII\r\n"), "plain ASCII\r\n");
  // A byte-order mark is written even for an empty file.
  EXPECT_EQ(write_text(KOSAVE_ENCODING_UTF16LE_BOM, u""), "\xFF\xFE");
}

TEST_F(SaveFileTest, ByteModeGathersAcrossBufferEnds) {
  ko::save_set_buffer_size(3);
  std::filesystem::path file = path("bytes.bin");
  std::u16string name = file.u16string();
  ko::SaveFile out;
  ASSERT_TRUE(ko::osFileOpenNew32(&out, storage_, subpool_, name.c_str(), ko::kEncodingBytes));
  std::string expected;
  for (int i = 0; i < 40; ++i) {
    std::string piece(size_t(i % 7), char('a' + i % 26));
    expected += piece;
    EXPECT_EQ(ko::osFileWrite(&out, piece.data(), piece.size()), piece.size());
  }
  EXPECT_EQ(ko::osFileClose(&out, storage_, true), 1);
  EXPECT_EQ(read_bytes(file), expected);
}

TEST_F(SaveFileTest, DerivesTheBaseName) {
  struct Case {
    const char16_t* file;
    const char16_t* base;
  } cases[] = {
      {u"C:\\data\\orders.2024.csv", u"orders"},
      {u"/tmp/my data.xml", u"my data"},
      {u"d:name.txt", u"name"},
      {u"noext", u"noext"},
      {u"/folder/", u""},
      {u".hidden", u""},
      {u"dir.v2/file", u"dir"},  // the last "." decides where the walk starts
      {u"", u""},
      {nullptr, u""},
  };
  for (const Case& c : cases) {
    KOCHAR base[ko::kBaseNameMax + 1];
    ko::save_base_name(c.file, base);
    EXPECT_EQ(std::u16string(base), c.base) << utf8(c.file ? c.file : u"(null)");
  }
  std::u16string long_name(400, u'n');
  KOCHAR base[ko::kBaseNameMax + 1];
  ko::save_base_name((long_name + u".csv").c_str(), base);
  EXPECT_EQ(std::u16string(base), long_name.substr(0, ko::kBaseNameMax));
}

TEST_F(SaveFileTest, BeginRefusesWhatItCannotOpen) {
  std::u16string missing_folder = path("no/such/folder/x.csv").u16string();
  std::u16string good = path("ok.csv").u16string();
  EXPECT_EQ(osSaveBegin32(storage_, subpool_, missing_folder.c_str(), 1, 1, 0, 1), nullptr);
  EXPECT_EQ(osSaveBegin32(storage_, subpool_, good.c_str(), 1, 1, 0, 77), nullptr);
  EXPECT_EQ(osSaveBegin32(storage_, subpool_, good.c_str(), 1, -1, 0, 1), nullptr);
  EXPECT_EQ(osSaveBegin32(nullptr, subpool_, good.c_str(), 1, 1, 0, 1), nullptr);
  // Flag 4 opens no file, so the encoding does not matter.
  KoSaveContext* save = osSaveBegin32(storage_, subpool_, good.c_str(), 1, 1, KOSAVE_NO_FILE, 77);
  ASSERT_NE(save, nullptr);
  EXPECT_EQ(std::u16string(save->base_name), u"ok");
  osSaveEnd(save);
  EXPECT_FALSE(std::filesystem::exists(path("ok.csv")));
  osSaveEnd(nullptr);
}

TEST_F(SaveFileTest, OperationsOnNoContextOrNoColumnsAreRefused) {
  CKO_SaveCsv csv;
  CKO_SaveDbase3 dbase;
  CKO_SaveWk wk;
  CKO_SaveXml xml;
  IKO_SaveFileType* writers[] = {&csv, &dbase, &wk, &xml};
  double number = 1;
  for (IKO_SaveFileType* writer : writers) {
    EXPECT_EQ(writer->AddColumn(nullptr, u"a", 1, KOSAVE_STRING), 0);
    EXPECT_EQ(writer->WriteValue(nullptr, &number), 0);
    EXPECT_EQ(writer->End(nullptr), 0);
    KoSaveContext* save = writer->Begin(storage_, subpool_, nullptr, 0, 0, KOSAVE_NO_FILE, 1);
    ASSERT_NE(save, nullptr);
    EXPECT_EQ(writer->AddColumn(save, u"a", 1, KOSAVE_STRING), 0);
    EXPECT_EQ(writer->WriteValue(save, &number), 0);
    writer->End(save);
  }
}

}  // namespace
}  // namespace saveas_test
