// What a fuzz target consists of.
#pragma once

#include "fuzz/input.h"

namespace tagwriter::fuzz {

/// Called once, before the first input.
void setUp();

/// Tries one input. Fails by ending the process.
void run(Input input);

}  // namespace tagwriter::fuzz
