#pragma once

#include <elf.h>
#include <link.h>

#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace jumplark {

using BuildId = std::span<const uint8_t>;

/// The build id in the notes of an ELF segment: what tells two builds of a module apart. Empty when there is none.
/// Async-signal-safe. Notes as in elf(5): name size, description size, type, name, description, each padded to 4 bytes.
inline BuildId findBuildId(std::span<const uint8_t> notes) noexcept {
  constexpr std::string_view kOwner{"GNU\0", 4};
  const auto padded = [](size_t size) { return (size + 3) & ~size_t{3}; };
  while (notes.size() >= sizeof(ElfW(Nhdr))) {
    ElfW(Nhdr) header{};
    std::memcpy(&header, notes.data(), sizeof(header));
    notes = notes.subspan(sizeof(header));
    const size_t nameSize = padded(header.n_namesz);
    if (nameSize > notes.size() || header.n_descsz > notes.size() - nameSize) {
      return {};
    }
    const bool isIt = header.n_type == NT_GNU_BUILD_ID && header.n_namesz == kOwner.size() &&
                      std::memcmp(notes.data(), kOwner.data(), kOwner.size()) == 0;
    if (isIt) {
      return notes.subspan(nameSize, header.n_descsz);
    }
    const size_t whole = nameSize + padded(header.n_descsz);
    if (whole > notes.size()) {
      return {};
    }
    notes = notes.subspan(whole);
  }
  return {};
}

}  // namespace jumplark
