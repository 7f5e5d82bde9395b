#include "base/StandardFiles.h"

#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

void KeepStandardFiles()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0) {
            [[maybe_unused]] const int standIn = open("/dev/null", O_RDONLY);
        }
    }
}
