// Numbers in files, whatever the locale of the process.
#pragma once

#include <memory>

namespace tarvix {

class ClassicNumbers;

// Within its lifetime OpenCV reads and writes numbers in XML with '.' as the decimal point, on this
// thread. By itself it follows the C locale of the process, and mends a comma only. Made around
// every cv::FileStorage and every classifier that is loaded.
class DecimalPoint {
public:
    DecimalPoint();
    ~DecimalPoint();
    DecimalPoint(const DecimalPoint&) = delete;
    DecimalPoint& operator=(const DecimalPoint&) = delete;

private:
    std::unique_ptr<ClassicNumbers> m_numbers; // null if there is nothing to do
};

} // namespace tarvix
