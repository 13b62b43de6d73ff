#pragma once

/// The levels of the log, and the extras of an error code.
namespace LoggerDefs {

/// A level is one bit. The mask is an OR of levels. A message passes if its bit is in the mask. A value that is not one
/// of these six is never written, whatever the mask.
enum LogValues : int {
    Information = 1,
    Error = 2,
    Warning = 4,
    Trace = 8,
    Exception = 16,
    Debug = 32,
};

/// The format of an error's code for IErrorReporter. The line in the log always shows the plain decimal code. `a` and
/// `b` are the two ints of an error, `x` and `y` its two unsigned ints. Base 16 is lower case, without prefix or
/// padding. Any other value means NoExtraInfo. An exception uses FirstIntDec only.
///
/// The logger keeps the extras until a later call of the same kind replaces them. A call that names a kind but does not
/// supply its extras gets the ones that were stored last.
enum ExtraErrorInfoType : int {
    NoExtraInfo = 0, ///< code
    SecondIntHex = 1, ///< code_b, b in base 16
    BothIntsHexDec = 2, ///< code_b_a, b in base 16, a in decimal
    FirstIntDec = 3, ///< code_a, a in decimal
    ExtraText = 4, ///< code_text
    TwoUIntsHex = 5, ///< code_x_y, both in base 16
};

/// A mask that Logger::ResetLoggingLevel refuses to change.
constexpr int kLockedLevel = 255;

} // namespace LoggerDefs
