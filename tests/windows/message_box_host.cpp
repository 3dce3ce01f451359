// A host without an application object: the system's own message box must show the module's failure
// text, and the call must return when the user closes it.
#include <tarvix/tarvix.h>

#include <windows.h>

#include <cstdio>

int main() {
    CDib grey; // the colour denoising refuses it
    if (grey.CreateGray(16, 16) == 0) {
        return 2;
    }
    CDib* const result = tx_Denoise(grey, 3, 3, 7, 21);
    std::printf("%s\n", result == nullptr ? "returned NULL" : "returned a bitmap");
    delete result;
    return result == nullptr ? 0 : 1;
}
