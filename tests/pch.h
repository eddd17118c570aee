// Precompiled for every test program; no source includes it by name.
#pragma once
#include "base/pch.h"

#include <gtest/gtest.h>
