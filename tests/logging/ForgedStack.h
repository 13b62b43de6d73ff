#pragma once

#include <vector>

/// While it lives, every thread of this program has these return addresses on its stack, the innermost first. Linking
/// it replaces the C library's function for the whole process; without an object of this class it tells the truth.
class ForgedStack
{
public:
    explicit ForgedStack(std::vector<const void*> frames);
    ~ForgedStack();

    ForgedStack(const ForgedStack&) = delete;
    ForgedStack& operator=(const ForgedStack&) = delete;

    /// How many addresses were asked for at most, the last time.
    static int Asked();
};
