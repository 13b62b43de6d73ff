#pragma once

/// While it lives, calls of one kind that this program or the library makes fail, as on a full disk or on a file system
/// that keeps less. Linking it replaces the C library's functions for the whole process.
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

    /// The first `succeeding` calls still go through.
    CallFailure(Call call, int error, int succeeding = 0);
    ~CallFailure();

    CallFailure(const CallFailure&) = delete;
    CallFailure& operator=(const CallFailure&) = delete;

private:
    const Call iCall;
};
