#pragma once

namespace tlux::app {

/** The vector unit that the library's kernels can use on this machine. */
const char* vectorUnit();

} // namespace tlux::app
