// print_state.cpp - the printing family's module-wide state (print_state.hpp).
#include "print_state.hpp"

namespace vx::print {

PrintJob& Job() {
    static PrintJob job;
    return job;
}

std::string& ChosenPrinterName() {
    static std::string name;
    return name;
}

}  // namespace vx::print
