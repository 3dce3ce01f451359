// A program for the tests of runProgram(). It prints how it was started. Its first argument is the
// exit status, or "signal".
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        std::cout << '<' << argv[i] << ">\n";
    }
    const char* const set = std::getenv("TARVIX_PROBE");
    std::cout << "environment " << (set == nullptr ? "unset" : set) << "\nfolder "
              << std::filesystem::current_path().string() << "\ninput " << std::cin.get() << '\n';
    std::cerr << "told apart\n";
    const std::string status = argc > 1 ? argv[1] : "0";
    if (status == "signal") {
        std::cout.flush();
        static_cast<void>(std::raise(SIGTERM));
    }
    return std::stoi(status);
}
