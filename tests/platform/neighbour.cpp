#include "tests/platform/neighbour.h"

namespace neighbour {

CDib* newGrayDib(int width, int height) {
    CDib* const dib = new CDib;
    dib->CreateGray(width, height);
    return dib;
}

void deleteDib(CDib* dib) {
    delete dib;
}

void appendRect(CArray<RECT, RECT&>& rects, RECT rect) {
    rects.Add(rect);
}

RECT& rectAt(CArray<RECT, RECT&>& rects, int index) {
    return rects.GetAt(index);
}

const CString& stringAt(const CStringArray& strings, int index) {
    return strings.GetAt(index);
}

int caughtAs(void (*thrower)()) {
    try {
        thrower();
    } catch (CInvalidArgException*) {
        return 1;
    } catch (CException*) {
        return 2;
    } catch (...) {
        return 3;
    }
    return 0;
}

} // namespace neighbour
