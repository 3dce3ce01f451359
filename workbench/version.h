#pragma once

namespace workbench {

// Of the program: "1.1.0".
const char* version();

} // namespace workbench
