#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ranges>
#include <string>
#include <vector>

#include "desktop/support/Desktop.h"
#include "support/TemporaryFolder.h"
