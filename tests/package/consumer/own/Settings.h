#pragma once

constexpr bool kHasOwnSettings = true;
