// A host that takes over Tarvix's messages and catches exceptions of the exports.
#include <tarvix/tarvix.h>

#include <opencv2/core.hpp>

#include <iostream>
#include <memory>

// The application object. While it exists, messages come here instead of a box on the screen.
class Application : public CWinApp {
public:
    int DoMessageBox(LPCSTR text, UINT /*type*/, UINT /*helpId*/) override {
        std::cout << "message: " << text << '\n';
        return IDOK;
    }
};

int main(int argc, char** argv) try {
    const Application application;
    const std::unique_ptr<CDib> image(tx_LoadFile(argc > 1 ? argv[1] : ""));
    if (image == nullptr) { // expected failures are silent
        std::cerr << "usage: host IMAGE\n";
        return 1;
    }
    try {
        const std::unique_ptr<CDib> edges(tx_Canny(*image, 50, 150, 4, 0));
    } catch (const cv::Exception& e) { // documented for tx_Canny: the aperture is even
        std::cout << "refused: " << e.what() << '\n';
    }
    CArray<RECT, RECT&> faces;
    const int count = tx_FindFaces(*image, faces); // needs 8 bits: a message, and 0
    std::cout << count << " faces\n";
    return 0;
} catch (CException* e) { // the class library throws pointers: delete them like this
    e->Delete();
    return 1;
} catch (const std::exception& e) {
    std::cerr << e.what() << '\n';
    return 1;
}
