// Included before everything that uses libbinder: its headers use these without including them.

#pragma once

#include <cstring>
#include <limits>
#include <memory>
#include <string>
