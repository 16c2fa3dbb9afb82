// Seeds and lengths of the randomised model checks.
//
// Each model check runs a fixed seed by default, so a failure is reproducible. To run others:
//   MORTAR_MODEL_SEED=12345 MORTAR_MODEL_STEPS=1000000 ctest -R Model
// MORTAR_MODEL_SEED=random picks a seed from the clock and prints it.
#ifndef MORTAR_TESTS_SUPPORT_MODEL_SEED_H
#define MORTAR_TESTS_SUPPORT_MODEL_SEED_H

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace mortar::test {

/// The seed of a model check: MORTAR_MODEL_SEED when set, else `fixed`.
inline uint32_t ModelSeed(uint32_t fixed) {
    char const* text = std::getenv("MORTAR_MODEL_SEED");
    if (text == nullptr || *text == '\0') return fixed;
    uint32_t seed = std::strcmp(text, "random") == 0
                        ? static_cast<uint32_t>(std::chrono::steady_clock::now().time_since_epoch().count())
                        : static_cast<uint32_t>(std::strtoul(text, nullptr, 10));
    std::printf("model seed %u\n", seed);
    return seed;
}

/// The number of steps of a model check: MORTAR_MODEL_STEPS when set, else `fixed`.
inline long ModelSteps(long fixed) {
    char const* text = std::getenv("MORTAR_MODEL_STEPS");
    return text != nullptr && *text != '\0' ? std::strtol(text, nullptr, 10) : fixed;
}

} // namespace mortar::test

#endif
