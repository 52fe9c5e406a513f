#include "Veilpane/Support/StandardDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

void openMissingStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1) {
            // A new descriptor gets the lowest free number, which is this one.
            open("/dev/null", O_RDWR);
        }
    }
}
