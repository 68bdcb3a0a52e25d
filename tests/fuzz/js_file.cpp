// Any run of operations on a file of any text.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>

#include "doubles/FileModel.h"

using namespace vexil3;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const std::string text = input.ConsumeRandomLengthString(300).c_str();
    test::FileModel model{text};
    test::FileSubject subject(text);
    while (input.remaining_bytes()) {
        const int operation = input.ConsumeIntegralInRange(0, test::kFileOperations - 1);
        const int origin = input.ConsumeIntegralInRange(0, 3);
        const long argument = operation ? input.ConsumeIntegralInRange(0L, 320L)
                                        : static_cast<long>(input.ConsumeIntegralInRange(-320, 320));
        alike(model, subject, operation, argument, origin);
    }
    return 0;
}
