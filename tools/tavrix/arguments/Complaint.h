#pragma once

#include <string>

namespace CLI
{
class App;
class Error;
}  // namespace CLI

namespace tavrix::tool
{

/// What is wrong with the arguments, as a line in the program's own words: names the option, says what it may
/// be, what was meant perhaps, and where to read more.
std::string complaint(const CLI::App* app, const CLI::Error& error);

}  // namespace tavrix::tool
