#include "backends/linux/crash/StackRecord.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <ucontext.h>
#include <unistd.h>

#include <array>
#include <string_view>

#include "backends/linux/crash/BuildId.h"

namespace jumplark {
namespace {

constexpr size_t kMostFrames = 96;
constexpr size_t kMostModules = 32;
constexpr size_t kMostHeaders = 32;
constexpr size_t kLongestNote = 1024;

/// Reads this process's memory where it may be unreadable: the kernel answers instead of a fault.
class OwnMemory {
 public:
  OwnMemory() noexcept : file_(::open("/proc/self/mem", O_RDONLY | O_CLOEXEC)) {}
  OwnMemory(const OwnMemory&) = delete;
  OwnMemory& operator=(const OwnMemory&) = delete;
  ~OwnMemory() {
    if (file_ >= 0) {
      ::close(file_);
    }
  }
  template <typename Value>
  bool read(uintptr_t address, Value& value) const noexcept {
    return readBytes(address, &value, sizeof(value)) == sizeof(value);
  }
  size_t readBytes(uintptr_t address, void* target, size_t size) const noexcept {
    const ssize_t count = ::pread(file_, target, size, static_cast<off_t>(address));
    return count > 0 ? static_cast<size_t>(count) : 0;
  }

 private:
  int file_;
};

/// Where the thread was when the signal interrupted it.
class Interrupted {
 public:
#if defined(__x86_64__)
  explicit Interrupted(void* context) noexcept
      : counter_(static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_RIP]),
        stack_(static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_RSP]) {}

  uintptr_t counter() const noexcept {
    return static_cast<uintptr_t>(counter_);
  }
  /// Makes the context that of the caller, as at the first instruction of a function; the address there, 0 for none.
  uintptr_t returnToCaller(const OwnMemory& memory) noexcept {
    greg_t caller = 0;
    if (!memory.read(static_cast<uintptr_t>(stack_), caller)) {
      return 0;
    }
    counter_ = caller;
    stack_ += static_cast<greg_t>(sizeof(caller));
    return static_cast<uintptr_t>(caller);
  }

 private:
  greg_t& counter_;
  greg_t& stack_;
#elif defined(__aarch64__)
  explicit Interrupted(void* context) noexcept : machine_(static_cast<ucontext_t*>(context)->uc_mcontext) {}

  uintptr_t counter() const noexcept {
    return machine_.pc;
  }
  uintptr_t returnToCaller(const OwnMemory& /*memory*/) noexcept {
    return machine_.pc = machine_.regs[30];
  }

 private:
  mcontext_t& machine_;
#else
  explicit Interrupted(void* /*context*/) noexcept {}
  uintptr_t counter() const noexcept {
    return 0;
  }
  uintptr_t returnToCaller(const OwnMemory& /*memory*/) noexcept {
    return 0;
  }
#endif
};

struct Module {
  uintptr_t start = 0;
  uintptr_t bias = 0;  ///< what addresses in memory have over those of the file
  const char* path = nullptr;
};

/// The module an address lies in; without a path when there is none. Takes no lock, unlike the other ways to ask.
Module moduleAt(uintptr_t address, const char* program) noexcept {
  dl_find_object found{};
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel gives registers as numbers
  if (_dl_find_object(reinterpret_cast<void*>(address), &found) != 0 || found.dlfo_link_map == nullptr) {
    return {};
  }
  const link_map& map = *found.dlfo_link_map;
  const bool isProgram = map.l_name == nullptr || map.l_name[0] == '\0';
  return {reinterpret_cast<uintptr_t>(found.dlfo_map_start), map.l_addr, isProgram ? program : map.l_name};
}

void writeBuildId(SignalSafeText& out, const OwnMemory& memory, const Module& module) noexcept {
  ElfW(Ehdr) header{};
  if (!memory.read(module.start, header)) {
    return;
  }
  for (size_t i = 0; i < header.e_phnum && i < kMostHeaders; ++i) {
    ElfW(Phdr) segment{};
    std::array<uint8_t, kLongestNote> note{};
    if (!memory.read(module.start + header.e_phoff + i * sizeof(segment), segment) || segment.p_type != PT_NOTE) {
      continue;
    }
    const size_t size = memory.readBytes(module.bias + segment.p_vaddr, note.data(),
                                         segment.p_memsz < note.size() ? segment.p_memsz : note.size());
    if (const BuildId id = findBuildId({note.data(), size}); !id.empty()) {
      out.text("@").bytes(id.data(), id.size()).text(" ").text(module.path).endLine();
      return;
    }
  }
}

/// Writes one frame after the other.
class Frames {
 public:
  Frames(SignalSafeText& out, const OwnMemory& memory, const char* program) noexcept
      : out_(out), memory_(memory), program_(program) {}

  bool isKnown(uintptr_t address) const noexcept { return moduleAt(address, program_).path != nullptr; }
  void write(uintptr_t address, bool isReturn) noexcept {
    // A call at the end of a function returns to what follows the function.
    const uintptr_t inside = isReturn && address > 0 ? address - 1 : address;
    const Module module = moduleAt(inside, program_);
    out_.text("#").decimal(written_++).text(" ").hexadecimal(address);
    if (module.path != nullptr) {
      out_.text(" ").text(module.path).text(" +").hexadecimal(inside - module.bias);
    }
    out_.endLine();
    if (module.path != nullptr && isNew(module)) {
      writeBuildId(out_, memory_, module);
    }
  }
  void writeCallersOf(uintptr_t interrupted) noexcept {
    std::array<void*, kMostFrames> frames{};
    const int found = ::backtrace(frames.data(), static_cast<int>(frames.size()));
    const auto count = static_cast<size_t>(found > 0 ? found : 0);
    size_t next = 0;  // after the handler's own frames and the interrupted one
    while (next < count && reinterpret_cast<uintptr_t>(frames[next]) != interrupted) {
      ++next;
    }
    for (++next; next < count; ++next) {
      write(reinterpret_cast<uintptr_t>(frames[next]), true);
    }
  }

 private:
  bool isNew(const Module& module) noexcept {
    for (size_t i = 0; i < moduleCount_; ++i) {
      if (moduleStarts_[i] == module.start) {
        return false;
      }
    }
    if (moduleCount_ < moduleStarts_.size()) {
      moduleStarts_[moduleCount_++] = module.start;
    }
    return true;
  }

  SignalSafeText& out_;
  const OwnMemory& memory_;
  const char* program_;
  size_t written_ = 0;
  std::array<uintptr_t, kMostModules> moduleStarts_{};
  size_t moduleCount_ = 0;
};

}  // namespace

void prepareStackRecord() {
  std::array<void*, 4> frames{};
  ::backtrace(frames.data(), frames.size());
}

void writeStackRecord(SignalSafeText& out, void* context, const char* program) noexcept {
  const OwnMemory memory;
  Frames all(out, memory, program);
  out.text("Stack:").endLine();
  const ucontext_t before = *static_cast<ucontext_t*>(context);
  Interrupted interrupted(context);
  all.write(interrupted.counter(), false);
  // After a jump to nowhere, the unwinder would look for an instruction there.
  bool isOnCode = all.isKnown(interrupted.counter());
  if (!isOnCode && all.isKnown(interrupted.returnToCaller(memory))) {
    all.write(interrupted.counter(), true);
    isOnCode = true;
  }
  out.flush();  // the unwinder may come to grief on a broken stack
  if (isOnCode) {
    all.writeCallersOf(interrupted.counter());
  }
  static_cast<ucontext_t*>(context)->uc_mcontext = before.uc_mcontext;
}

}  // namespace jumplark
