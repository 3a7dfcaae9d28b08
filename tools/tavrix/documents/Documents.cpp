#include "documents/Documents.h"

#include <filesystem>
#include <fstream>

#include <CLI/CLI.hpp>

#include "documents/Completion.h"
#include "documents/ManualPage.h"
#include "formats/FileName.h"
#include "run/Failure.h"

namespace tavrix::tool
{

namespace
{

void write(const std::string& path, const std::string& text)
{
    std::ofstream file(formats::pathOf(path), std::ios::binary);
    if (!(file << text << std::flush)) throw Failure(path + ": cannot be written");
}

}  // namespace

void writeDocuments(const CLI::App& program, const std::string& folder)
{
    std::error_code error;
    std::filesystem::create_directories(formats::pathOf(folder + "/man1"), error);
    write(folder + "/man1/tavrix.1", programPage(program));
    for (const CLI::App* command : program.get_subcommands({}))
        write(folder + "/man1/tavrix-" + command->get_name() + ".1", commandPage(*command));
    write(folder + "/tavrix.bash", bashCompletion(program));
    write(folder + "/_tavrix", zshCompletion(program));
    write(folder + "/tavrix.fish", fishCompletion(program));
}

}  // namespace tavrix::tool
