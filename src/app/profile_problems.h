// SPDX-License-Identifier: MIT
#pragma once

namespace velmora
{

class Environments;
class FilePreferences;
struct RunContext;

/// Writes to standard error what is wrong with the file of the preferences, now and whenever more is found. Changes
/// that cannot be saved later on are reported for a desktop run only; the commands of the terminal report them
/// themselves. Neither is owned; the terminal outlives the preferences.
void reportProblems(FilePreferences *preferences, const RunContext &context);

/// Writes to standard error when the record of environments cannot be read. Nothing is owned, as above.
void reportProblems(Environments *environments, const RunContext &context);

} // namespace velmora
