#pragma once

constexpr bool kHasOwnUtil = true;
