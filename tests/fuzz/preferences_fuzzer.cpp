#include "platform/linux/JsonPreferences.h"
#include "support/async/VirtualTime.h"
#include "support/files/MemoryFolder.h"
#include "support/json/Json.h"
#include "support/log/Log.h"

#include <cstddef>
#include <cstdint>

/// Any bytes as the file of preferences: a value can be kept and is found again, a file that will not do is kept aside
/// and one that will do loses nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tavrin;
    setLogLevel(LogLevel::off);
    const std::string text(reinterpret_cast<const char*>(data), size);
    VirtualTime time;
    MemoryFolder folder;
    folder.writeAtomically("p", text);
    {
        JsonPreferences preferences(folder, "p", time.main());
        // What is read and stored again stays what it was.
        for (const char* key : {"a", "list", "o"})
            if (const auto value = preferences.value(key)) preferences.set(key, *value);
        preferences.set("new", std::int64_t{7});
        if (preferences.damageAtStart().has_value() != folder.info("p.damaged").has_value()) __builtin_trap();
    }
    if (JsonPreferences(folder, "p", time.main()).integer("new") != 7) __builtin_trap();
    if (folder.info("p.damaged")) {
        if (folder.read("p.damaged", Folder::noLimit) != text) __builtin_trap();
        return 0;
    }
    Json expected = parseJson(text, "fuzzed");
    expected["new"] = 7;
    if (compactText(readJson(folder, "p")) != compactText(expected)) __builtin_trap();
    return 0;
}

/// Half of the time mutates a good text, so that the inner checks are reached.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t mostSize);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t mostSize,
                                               unsigned seed) {
    static const std::string good =
        R"({"a":1.5,"b":true,"new":"x","list":["1","x"],"big":18446744073709551615,"none":null,"o":{"k":[-1,{}]}})";
    if (seed % 2 == 0 && good.size() <= mostSize) {
        good.copy(reinterpret_cast<char*>(data), good.size());
        size = good.size();
    }
    return LLVMFuzzerMutate(data, size, mostSize);
}
