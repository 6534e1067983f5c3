// retry_prompt_test.cpp: a refused or short write asks the user Retry/Cancel
// with messages 21301 and 21302; Retry repeats the write, Cancel gives up with
// -3 or -17.
#include "library_fixture.h"

#include <koshr/host.h>

#include "platform/platform.h"

using namespace library_test;

namespace {

struct Asked {
  std::u16string text, caption;
  unsigned style = 0;
  int calls = 0;
  int answer = 0;  // the answer to the first question; Cancel after that
};
Asked* g_asked = nullptr;

int answer(const KOCHAR* text, const KOCHAR* caption, unsigned style) {
  Asked& a = *g_asked;
  if (a.calls++ == 0) {
    a.text = text;
    a.caption = caption ? caption : u"";
    a.style = style;
    if (a.answer == ko::os::kAnswerRetry) ko::os::clear_write_fault();
    return a.answer;
  }
  return ko::os::kAnswerCancel;
}

class RetryPromptTest : public LibraryTest {};

TEST_F(RetryPromptTest, QuestionsAndAnswers) {
  struct Case {
    ko::os::WriteFaultKind kind;
    int answer;
    int32_t rc;
    const char16_t* text_start;
  } cases[] = {
      {ko::os::WriteFaultKind::kFail, ko::os::kAnswerCancel, -3, u"0x"},
      {ko::os::WriteFaultKind::kShort, ko::os::kAnswerCancel, -17, u"Out of space on disk. Retry?"},
      {ko::os::WriteFaultKind::kFail, ko::os::kAnswerRetry, 0, u"0x"},
      {ko::os::WriteFaultKind::kShort, ko::os::kAnswerRetry, 0, u"Out of space on disk. Retry?"},
  };
  int n = 0;
  for (const Case& c : cases) {
    std::u16string p = create("r" + std::to_string(n++) + ".kol");
    LMI_HANDLE h = open(p);
    ASSERT_EQ(put(h, "a.dat", pattern(100, 1)), 0);
    Asked asked;
    asked.answer = c.answer;
    g_asked = &asked;
    KOSHR_PROMPT_HANDLER previous = koshr_set_prompt_handler(&answer);
    ko::os::set_write_fault({c.kind, 0});
    int32_t rc = LMI_CloseLibrary(h);
    ko::os::clear_write_fault();
    koshr_set_prompt_handler(previous);
    g_asked = nullptr;
    EXPECT_EQ(rc, c.rc);
    EXPECT_EQ(asked.text.rfind(c.text_start, 0), 0u) << narrow(asked.text.c_str());
    EXPECT_EQ(asked.style, ko::os::kBoxRetryCancel | ko::os::kBoxIconStop);
    EXPECT_FALSE(asked.caption.empty());
    h = open(p, LMI_MODE_READ);
    int32_t got;
    Bytes back = get(h, "a.dat", &got);
    EXPECT_EQ(got, c.rc == 0 ? 0 : -12);
    if (c.rc == 0) {
      EXPECT_EQ(back, pattern(100, 1));
    }
    LMI_CloseLibrary(h);
    for (auto& f : check(p)) EXPECT_EQ(f.first, LMI_CHECK_LEAKED) << f.second;
  }
}

}  // namespace
