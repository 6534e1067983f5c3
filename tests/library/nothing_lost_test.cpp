// nothing_lost_test.cpp: a put, replace or delete that meets a failing write
// at any of its write calls, or whose process is killed (SIGKILL) at any of
// them, leaves a library that opens, keeps every other entry byte-identical,
// shows the entry in question old or new (or absent when it was new), and has
// at worst blocks marked used that nothing references.
#include "library_fixture.h"

#include <koshr/host.h>

#include "platform/platform.h"

#include <functional>
#include <map>

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#endif

using namespace library_test;

namespace {

using Contents = std::map<std::string, Bytes>;
const Bytes kAbsent{0xDE, 0xAD};  // stands for "removed" among the expected contents

enum class Host { kNone, kExecutable, kSignedExecutable };

class NothingLostTest : public LibraryTest {
 protected:
  // A library with enough entries that the root has children and splits
  // happen, standing alone or carried in an executable (signed or not).
  std::u16string seed(const std::string& name, Contents* contents, Host host = Host::kNone) {
    std::u16string p = path(name);
    if (host == Host::kNone) {
      create(name);
    } else {
      write_file(name, pe_stub(0));
      EXPECT_EQ(LMI_CloseLibrary(LMI_AppendExecutable(storage_, p.c_str(), nullptr)), 0);
    }
    LMI_HANDLE h = open(p);
    for (int i = 0; i < 120; ++i) {
      std::string entry = "entry_" + std::to_string(i * 37 % 120) + "_with_a_longer_name.dat";
      Bytes data = pattern(size_t(i * 131 % 2000), uint32_t(i));
      EXPECT_EQ(put(h, entry, data, i % 3 ? u"" : u"note"), 0);
      (*contents)[entry] = data;
    }
    EXPECT_EQ(LMI_CloseLibrary(h), 0);
    if (host == Host::kSignedExecutable) sign_file(name, 1500);
    return p;
  }

  // Runs `op` on a copy of the seeded library with the fault at every write
  // call in turn, until a run completes without reaching the fault; then
  // again in a child process killed at every write call in turn.
  void exhaust(const std::string& what, const std::function<void(LMI_HANDLE)>& op,
               const Contents& after, Host host = Host::kNone) {
    Contents seeded;
    std::u16string original = seed("orig_" + what + ".kol", &seeded, host);
    for (ko::os::WriteFaultKind kind :
         {ko::os::WriteFaultKind::kFail, ko::os::WriteFaultKind::kShort}) {
      for (uint64_t call = 0;; ++call) {
        std::u16string p = fresh_copy(what);
        LMI_HANDLE h = open(p);
        ASSERT_NE(h, nullptr);
        ko::os::set_write_fault({kind, call});
        op(h);
        LMI_CloseLibrary(h);
        uint64_t calls = ko::os::write_calls_seen();
        ko::os::clear_write_fault();
        bool completed = calls <= call;  // the fault was never reached: every call is covered
        verify(p, seeded, after, completed, what + " fault at call " + std::to_string(call));
        if (completed) break;
      }
    }
#ifndef _WIN32
    for (uint64_t call = 0;; ++call) {
      std::u16string p = fresh_copy(what);
      bool completed = run_killed_at(p, call, op);
      verify(p, seeded, after, completed, what + " killed at write call " + std::to_string(call));
      if (completed || HasFatalFailure()) break;
    }
#endif
  }

  std::u16string fresh_copy(const std::string& what) {
    std::filesystem::remove(file("work.kol"));
    std::filesystem::copy_file(file("orig_" + what + ".kol"), file("work.kol"));
    return path("work.kol");
  }

#ifndef _WIN32
  // Runs `op` in a child process that dies by SIGKILL when it reaches write
  // call number `call`: that write fails, and the question the library then
  // asks kills the process, so nothing of it or after it runs. True when the
  // child finished without reaching that call.
  static bool run_killed_at(const std::u16string& p, uint64_t call,
                            const std::function<void(LMI_HANDLE)>& op) {
    pid_t pid = fork();
    if (pid == 0) {
      KostgContext* pool = kostg_begin(0);
      LMI_HANDLE h = LMI_OpenLibrary(pool, p.c_str(), LMI_MODE_READWRITE, 0);
      if (!h) _exit(3);
      koshr_set_prompt_handler([](const KOCHAR*, const KOCHAR*, unsigned) -> int {
        raise(SIGKILL);
        return ko::os::kAnswerCancel;
      });
      ko::os::set_write_fault({ko::os::WriteFaultKind::kFail, call});
      op(h);
      LMI_CloseLibrary(h);
      _exit(0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) return false;
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
    return true;
  }
#endif

  // `after` holds the subjects of the operation: their new contents, or an
  // empty optional-like marker (absent) when the operation removes them.
  void verify(const std::u16string& p, const Contents& before, const Contents& after,
              bool completed, const std::string& where) {
    LMI_HANDLE h = open(p, LMI_MODE_READ);
    ASSERT_NE(h, nullptr) << where;
    for (auto& [name, data] : before) {
      if (after.count(name)) continue;
      ASSERT_EQ(get(h, name), data) << where << ": " << name;
    }
    for (auto& [subject, wanted] : after) {
      int32_t rc;
      Bytes now = get(h, subject, &rc);
      auto old = before.find(subject);
      bool removes = wanted == kAbsent;
      bool is_old = old != before.end() ? rc == 0 && now == old->second : rc == -12;
      bool is_new = removes ? rc == -12 : rc == 0 && now == wanted;
      EXPECT_TRUE(completed ? is_new : is_old || is_new)
          << where << ": " << subject << " is neither old nor new (rc " << rc << ")";
    }
    LMI_CloseLibrary(h);
    for (auto& f : check(p)) ASSERT_EQ(f.first, LMI_CHECK_LEAKED) << where << ": " << f.second;
  }
};

TEST_F(NothingLostTest, ReplaceOfAnEntry) {
  Bytes data = pattern(20000, 98);
  const std::string subject = "entry_7_with_a_longer_name.dat";
  exhaust("replace", [&](LMI_HANDLE h) { put(h, subject, data); }, {{subject, data}});
}

// In a host file the trailer moves ahead of the blocks the library grows
// into, so the file ends in a trailer at every write call; a certificate
// table goes in steps that keep one where the next open looks.
TEST_F(NothingLostTest, PutOfANewEntryAndDeleteInEveryHost) {
  Bytes data = pattern(60000, 97);
  const std::string gone = "entry_3_with_a_longer_name.dat";
  for (Host host : {Host::kNone, Host::kExecutable, Host::kSignedExecutable}) {
    std::string kind = host == Host::kNone ? "alone" : host == Host::kExecutable ? "exe" : "signed";
    SCOPED_TRACE(kind);
    exhaust(
        kind + "_put",
        [&](LMI_HANDLE h) { put(h, "entry_new_with_a_longer_name.dat", data, u"fresh"); },
        {{"entry_new_with_a_longer_name.dat", data}}, host);
    exhaust(
        kind + "_delete",
        [&](LMI_HANDLE h) {
          std::u16string n = u16(gone);
          LMI_DeleteEntry(h, n.data());
        },
        {{gone, kAbsent}}, host);
  }
}

TEST_F(NothingLostTest, DeleteOfEntries) {
  // Deleting the lower 70 names in a row empties nodes and takes them out of the tree.
  Contents seeded, removed;
  seed("names.kol", &seeded);
  for (auto it = seeded.begin(); removed.size() < 70; ++it) removed[it->first] = kAbsent;
  exhaust(
      "delete",
      [&](LMI_HANDLE h) {
        for (auto& [name, unused] : removed) {
          std::u16string n = u16(name);
          LMI_DeleteEntry(h, n.data());
        }
      },
      removed);
}

}  // namespace
