// Resource scripts: any bytes must give strings or a FileError, never a crash or a hang.

#include "FuzzSupport.h"

#include "io/RcReader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString path = kvedit::fuzz::WriteInput("input.rc", data, size);
    try {
        kvedit::io::ReadResourceScript(path);
    } catch (const kvedit::KvError &) {
        // a refused file is the expected outcome for most inputs
    }
    return 0;
}
