/**
 * @file
 * What a host may hear from the contract checker.
 *
 * A host that defines modbus_rtu_check_finding() and exports it (an executable
 * linked with `-rdynamic`, or a library loaded with RTLD_GLOBAL) gets every
 * finding there. The checker looks the name up when it is loaded; nothing has to
 * be linked or registered.
 *
 * This header asks for no more than C++98.
 */
#ifndef MODBUS_RTU_CHECK_H
#define MODBUS_RTU_CHECK_H

/** How much a finding matters. */
enum ModbusRtuCheckSeverity {
    ModbusRtuCheckHint = 0,    ///< works, but is seldom what was meant
    ModbusRtuCheckWarning = 1, ///< something is not done, or not as it looks
    ModbusRtuCheckError = 2    ///< the contract is broken: wrong values, a standstill, a hang or a crash
};

extern "C" {

/**
 * Hears of one occurrence of a finding, on the thread that made the call or on
 * the checker's own thread for stalls. No lock of the checker is held. It must
 * not throw.
 *
 * @param name stable name, as the list of findings has it
 * @param severity a ModbusRtuCheckSeverity value
 * @param text the whole finding in words, zero-terminated UTF-8; lives during the call
 * @param count occurrences of this finding in this call of the interface so far: 1 for the first
 */
__attribute__((visibility("default"))) void modbus_rtu_check_finding(const char *name, int severity, const char *text,
                                                                     int count);

/** The type of modbus_rtu_check_finding(). */
typedef void (*ModbusRtuCheckFunction)(const char *name, int severity, const char *text, int count);

} // extern "C"

#endif
