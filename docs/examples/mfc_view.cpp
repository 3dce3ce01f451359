// A view of an MFC application whose document holds an image and four marked corners. Compiled
// where the class library is there; an application has its own document and view, message map and
// resources.
#include <afxwin.h>
#include <tarvix/tarvix.h>

#include <exception>
#include <memory>
#include <utility>

class PhotoDocument : public CDocument {
public:
    std::unique_ptr<CDib> image;
    double corners[8] = {}; // clockwise from the top left, in pixels: x0, y0, ..., x3, y3
};

class PhotoView : public CView {
public:
    void OnDraw(CDC* /*context*/) override {}
    PhotoDocument* GetDocument() const { return static_cast<PhotoDocument*>(CView::GetDocument()); }
    void OnStraighten(); // ON_COMMAND(ID_STRAIGHTEN, &PhotoView::OnStraighten)
};

void PhotoView::OnStraighten() try {
    PhotoDocument* const document = GetDocument();
    double result[12] = {}; // eight coordinates, then pitch, yaw, roll, focal length
    std::unique_ptr<CDib> straight(tx_Converge(*document->image, document->corners, 0.0, 1.0, 0.0,
                                               0.0, 0, result)); // 0.0: no focal length is known
    if (straight == nullptr) {
        AfxMessageBox("There is not enough memory for the result.");
        return;
    }
    document->image = std::move(straight); // it is ours: the unique_ptr deletes it
    document->SetModifiedFlag();
    document->UpdateAllViews(nullptr);
    CString found;
    found.Format("pitch %.1f, yaw %.1f, roll %.1f degrees", result[8], result[9], result[10]);
    AfxMessageBox(found);
} catch (const std::exception& e) { // such as cv::Exception: not 8 or 24 bits, impossible corners
    AfxMessageBox(e.what());
}
