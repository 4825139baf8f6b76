// chtool: the library's functions from the shell. Each subcommand takes its
// arguments after the subcommand name and returns the process exit status.
#ifndef CHTOOL_CHTOOL_H_
#define CHTOOL_CHTOOL_H_

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <commonhelpers/commonhelpers.h>

namespace chtool {

// Exit statuses: what the command was asked to find is absent or different
// (cmp), the input is bad, or the command line is.
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

using Args = std::vector<std::string>;

int HalfWidth(const Args& args);
int Lang(const Args& args);
int Dump(const Args& args);
int Pack(const Args& args);
int Cmp(const Args& args);
int Hann(const Args& args);

// Prints "chtool: <message>" to standard error and returns `status`.
int Fail(int status, const std::string& message);

// The name of a result code, as the header spells it.
const char* ResultName(RResult result);

// True when `args` asks for help; prints `usage` to standard output then.
bool WantsHelp(const Args& args, const char* usage);

// Calls `line` for every line of each file, or of standard input when there
// is none or the name is "-", with the line feed taken off and `lineFeed`
// telling whether there was one (only the last line may lack it). Lines may
// be of any length and hold any bytes. Returns kExitFailure when a file can't
// be opened or read, else 0.
int ForEachLine(const Args& files,
                const std::function<void(std::string& line, bool lineFeed)>& line);

// Opens `path` for reading in binary mode ("-" is standard input); null
// after reporting the error.
FILE* OpenInput(const std::string& path);

}  // namespace chtool

#endif  // CHTOOL_CHTOOL_H_
