// What <cutils/properties.h> takes from the C library of a device and Debian's does not have.

#pragma once

// Longest name and value of a property, each with its final NUL.
#define PROP_NAME_MAX 32
#define PROP_VALUE_MAX 92
