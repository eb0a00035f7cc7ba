// A libFuzzer program: hands each input to the target that it is built for.
#include <cstddef>
#include <cstdint>

#include "tests/fuzz/Targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FUZZ_TARGET({reinterpret_cast<const char*>(data), size});
    return 0;
}
