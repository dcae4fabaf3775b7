#include "bench/ProcessMemory.h"

#include <fstream>
#include <stdexcept>
#include <string>

namespace tavrin {

namespace {

double statusMegabytes(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name + ":")) return std::stod(line.substr(name.size() + 1)) * 1024 / 1e6;
    throw std::runtime_error("/proc/self/status has no " + name);
}

} // namespace

double ProcessMemory::resident() {
    return statusMegabytes("VmRSS");
}

double ProcessMemory::peak() {
    return statusMegabytes("VmHWM");
}

void ProcessMemory::forgetPeak() {
    std::ofstream file("/proc/self/clear_refs");
    if (!(file << "5" << std::flush)) throw std::runtime_error("/proc/self/clear_refs cannot be written");
}

} // namespace tavrin
