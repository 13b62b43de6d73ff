#pragma once

/// While it lives, system calls of one kind fail in this program and in the library, as on a full disk or on a file
/// system with fewer features. Linking it replaces the C library's functions for the whole process.
class CallFailure
{
public:
    enum Call {
        GetAttribute,
        SetAttribute,
        RemoveAttribute,
        GetFlags,
        SetFlags,
        ChangeMode,
        SetTimes,
        CallCount,
    };

    /// The first `succeeding` calls still succeed.
    CallFailure(Call call, int error, int succeeding = 0);
    ~CallFailure();

    CallFailure(const CallFailure&) = delete;
    CallFailure& operator=(const CallFailure&) = delete;

private:
    const Call iCall;
};
