// Starts a Windows program as a front end there does, with the binary channel on descriptor 3 of
// the C run-time library, which Wine does not hand over from outside. So the channel comes in as
// standard error:
//     windows_launcher LOG PROGRAM
// passes it on as descriptor 3, sends the program's own standard error to the file LOG and returns
// its status.
#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <sys/stat.h>

int main(int argc, char** argv) {
    constexpr int kBinaryDescriptor = 3, kStandardError = 2, kFailure = 127;
    if (argc != 3 || _dup2(kStandardError, kBinaryDescriptor) != 0) return kFailure;
    const int log = _open(argv[1], _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY, _S_IWRITE);
    if (log < 0 || _dup2(log, kStandardError) != 0 || _close(log) != 0) return kFailure;
    return static_cast<int>(_spawnl(_P_WAIT, argv[2], argv[2], nullptr));
}
