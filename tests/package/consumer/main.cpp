// The C interface from C++: the version of the header's library.
#include <cstdio>

#include <tlux.h>

int main() {
  const TLUX_VERSION* version = TLUX_GetVersion();
  return std::printf("%lld.%lld.%lld\n", static_cast<long long>(version->major),
                     static_cast<long long>(version->minor),
                     static_cast<long long>(version->build)) > 0
             ? 0
             : 1;
}
