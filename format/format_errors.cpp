/*
 * format_errors.cpp: the messages of the compile error codes, kept as string
 * resources (registered by name and number at load) and looked up by
 * shformatErrorString.
 *
 * Code 16 (more than six "f") reports the seconds message although the
 * microseconds message exists: callers show that text, so the mapping stays.
 */
#include <koshr/format.h>

#include "platform/resources.h"

namespace ko {
namespace {

const StringResource kFormatMessages[] = {
    {10, "IDS_FORMATOK", u"Format is valid."},
    {11, "IDS_FORMATERRSIZE", u"Format too large."},
    {12, "IDS_FORMATERRCOLOR", u"Invalid color specified in format."},
    {13, "IDS_FORMATERRSECTION", u"Too many sections specified in format."},
    {14, "IDS_FORMATERRCHAR", u"Bad character in format."},
    {15, "IDS_FORMATERRKEY", u"Unknown key specified in format, as in [xxx] where xxx is unknown."},
    {16, "IDS_FORMATERRPERIOD", u"Too many periods found in format."},
    {17, "IDS_FORMATERREOS", u"Unexpected end of format string."},
    {18, "IDS_FORMATERRINTERNAL", u"Invalid format."},
    {19, "IDS_FORMATERRMONTH", u"Month should be specified using m, mm, mmm or mmmm."},
    {100, "IDS_FORMATERRDAY", u"Day should be specified using d, dd, ddd or dddd."},
    {101, "IDS_FORMATERRYEAR", u"Year should be specified using yy or yyyy."},
    {102, "IDS_FORMATERRHOUR", u"Hour should be specified using h or hh."},
    {103, "IDS_FORMATERRSECOND", u"Seconds should be specified using s or ss"},
    {104, "IDS_FORMATERRMINUTE", u"Minutes should be specified using m or mm"},
    {105, "IDS_FORMATERRAMPM", u"Time should be specified using AM/PM, am/pm, a/p or A/P."},
    {106, "IDS_FORMATERRMSECOND", u"Microseconds can be up to nnnnnn."},
};
KO_STRING_TABLE(format_messages, kFormatMessages);

// The resource of each error code, by code.
constexpr const char* kResourceOfCode[] = {
    "IDS_FORMATOK",          "IDS_FORMATERRSIZE",   "IDS_FORMATERRCOLOR",  "IDS_FORMATERRSECTION",
    "IDS_FORMATERRCHAR",     "IDS_FORMATERRKEY",    "IDS_FORMATERRPERIOD", "IDS_FORMATERREOS",
    "IDS_FORMATERRINTERNAL", "IDS_FORMATERRMONTH",  "IDS_FORMATERRDAY",    "IDS_FORMATERRYEAR",
    "IDS_FORMATERRHOUR",     "IDS_FORMATERRSECOND", "IDS_FORMATERRMINUTE", "IDS_FORMATERRAMPM",
    "IDS_FORMATERRSECOND",
};

}  // namespace
}  // namespace ko

extern "C" KOSHR_API int shformatErrorString(KOCHAR* out, int code) {
  if (!out) return 0;
  constexpr int kCodes = int(sizeof ko::kResourceOfCode / sizeof ko::kResourceOfCode[0]);
  const char* name =
      code >= 0 && code < kCodes ? ko::kResourceOfCode[code] : "IDS_FORMATERRINTERNAL";
  return int(ko::load_string(ko::resource_id(name), out, SHFORMAT_ERROR_TEXT_MAX));
}
