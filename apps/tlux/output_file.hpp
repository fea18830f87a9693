#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

namespace tlux::app {

/**
 * Writes a whole file under a temporary name in the target's folder and renames it at the end, so
 * that the final name never holds half a file. An interrupted process leaves no temporary behind.
 * Throws Error naming the target.
 */
void writeFileAtomically(const std::filesystem::path& target, std::span<const uint8_t> content);

/** Makes Ctrl-C and a request to terminate remove the temporary of a write under way. */
void removeTemporaryOnSignals();

} // namespace tlux::app
