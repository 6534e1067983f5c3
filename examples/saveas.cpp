// saveas.cpp: a save-as export (C++): a small table written as a CSV file
// with a header line, then printed. Usage: saveas [FILE] (default goods.csv).
#include <koshr/saveas.h>
#include <koshr/storage.h>
#include <koshr/strings.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>

int main(int argc, char** argv) {
  const char* file = argc > 1 ? argv[1] : "goods.csv";
  KOCHAR name[512];
  if (kostg_UTF8toUCS2(nullptr, file) >= 512) return 2;
  kostg_UTF8toUCS2(name, file);
  KostgContext* pool = kostg_begin(0);

  struct Row {
    const KOCHAR* item;
    double price;
  } rows[] = {{u"Widget", 19.99}, {u"Gadget, large", 4.5}, {u"Sprocket", 0.35}};
  CKO_SaveCsv csv;
  KoSaveContext* save =
      csv.Begin(pool, nullptr, name, 3, 2, KOSAVE_COLUMN_NAMES, KOSAVE_ENCODING_UTF8);
  if (save == nullptr) return 1;
  bool ok = csv.AddColumn(save, u"item", 20, KOSAVE_STRING) &&
            csv.AddColumn(save, u"price", 0, KOSAVE_DOUBLE);
  for (const Row& row : rows) {
    ok = ok && csv.WriteValue(save, row.item) && csv.WriteValue(save, &row.price);
  }
  ok = csv.End(save) && ok;  // End closes the file and frees the context either way
  kostg_end(pool);
  if (!ok) return 1;
  std::cout << std::ifstream(file).rdbuf();
  return 0;
}
