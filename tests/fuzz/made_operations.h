// Operations for the fuzzer of requests to the workbench: few, with options of every kind and every
// name that the workbench knows. The program's own change with its commands and need all of the
// host.
#pragma once

#include "workbench/operations.h"

namespace fuzz {

const std::vector<workbench::Operation>& madeOperations();

} // namespace fuzz
