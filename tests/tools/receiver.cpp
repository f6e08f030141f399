// A printer for scripts: receiver ADDRESS PORT BYTES FILE
//
// Listens there, says "ready", and waits for so many bytes, over however many connections and for
// at most a minute. Then writes what came to the file. Exit code: 0 when all came, 1 when not, 2
// when it cannot listen there.

#include <cstdio>
#include <fstream>
#include <string>

#include "tests/standins/loopback_printer.h"

int main(int count, char** arguments) {
    constexpr int kArguments = 5;
    constexpr int kPatience = 60000;  // milliseconds
    if (count != kArguments) {
        return 2;
    }
    ksp::standins::LoopbackPrinter printer(
        {}, {arguments[1], static_cast<std::uint16_t>(std::stoul(arguments[2]))});
    if (!printer.ready()) {
        return 2;
    }
    std::puts("ready");
    std::fflush(stdout);
    const bool all = printer.WaitForBytes(std::stoul(arguments[3]), kPatience);
    const auto bytes = printer.received();
    std::ofstream file(arguments[4], std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    return all && file.flush() ? 0 : 1;
}
