#include "host/application.h"
#include "host/commands.h"

#include <string>
#include <vector>

int main(int argc, char** argv) {
    host::application(); // exists before any export is called, as in a real host
    return host::runCommand(std::vector<std::string>(argv + 1, argv + argc));
}
