#include <fcntl.h>
#include <ostream>
#include <unistd.h>

#include "host/commands/command_line.h"
#include "host/output/console.h"
#include "host/output/descriptor_buffer.h"

namespace {

// Opens /dev/null in place of closed standard descriptors: the next file that the program opens
// would otherwise get its output.
bool openStandardStreams() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // open returns the lowest free descriptor, which is this one.
        if (::fcntl(descriptor, F_GETFD) < 0 &&
            ::open("/dev/null", O_RDWR | O_NOCTTY) != descriptor) {
            return false;
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (!openStandardStreams()) {
        return em_pni::exitUnusable;
    }
    em_pni::CDescriptorBuffer outputBuffer(STDOUT_FILENO);
    em_pni::CDescriptorBuffer errorBuffer(STDERR_FILENO);
    std::ostream output(&outputBuffer);
    std::ostream errors(&errorBuffer);
    const int result = em_pni::pniHost(argc, argv, output, errors, em_pni::terminalOf);
    output.flush();
    errors.flush();
    return result;
}
