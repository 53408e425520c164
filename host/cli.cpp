// What a running command asks of the command line, and commands run from within the process.
#include "cli_commands.h"
#include "support.h"

#include <kov/platform/cli.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

using namespace kov_host;

namespace
{

CliContext &context_of(void *cli) { return *static_cast<CliContext *>(cli); }

class Stdout final : public Output
{
public:
    bool write(std::string_view text) override
    {
        return std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    }
    bool more() override { return true; }
    const std::string &terminal() const override { return terminal_; }

private:
    std::string terminal_ = "stderr";
};

bool print(Output &output, const char *fmt, va_list args)
{
    va_list again;
    va_copy(again, args);
    const int size = std::vsnprintf(nullptr, 0, fmt, again);
    va_end(again);
    if (size < 0)
        return false;
    std::string text(static_cast<std::size_t>(size) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), fmt, args);
    text.pop_back();
    return output.write(text);
}

} // namespace

extern "C" {

int cli_get_string(void *cli, const char *field, const char **out)
{
    if (cli == nullptr || field == nullptr || out == nullptr ||
        std::strcmp(field, "_CLI_TTY_NAME_FIELD") != 0)
        return -1;
    *out = context_of(cli).output.terminal().c_str();
    return 0;
}

int cli_is_set(void *cli, const char *name)
{
    if (cli == nullptr || name == nullptr)
        return 0;
    const auto &words = context_of(cli).words;
    return std::find(words.begin(), words.end(), name) != words.end() ? 1 : 0;
}

uint32_t cli_cmd_printf(void *cli, const char *fmt, ...)
{
    if (cli == nullptr || fmt == nullptr)
        return 0;
    va_list args;
    va_start(args, fmt);
    const bool printed = guarded(false, [&] { return print(context_of(cli).output, fmt, args); });
    va_end(args);
    return printed ? 1 : 0;
}

int cli_more_output(void *cli)
{
    if (cli == nullptr)
        return 0;
    return guarded(false, [&] { return context_of(cli).output.more(); }) ? 1 : 0;
}

int kov_host_cli_json(void *cli) { return cli != nullptr && context_of(cli).json ? 1 : 0; }

int kov_host_command_run(const char *line)
{
    return guarded(-1, [&] {
        Stdout output;
        return line == nullptr ? fail("no line to run") : run_command(line, output);
    });
}

const char *kov_host_command_text(kov_host_command_fn fn, int argc, const char *const *argv, void *arg)
{
    static std::string text;
    return guarded<const char *>(nullptr, [&] {
        Kept output;
        CliContext context{output, {}};
        if (argv != nullptr && argc > 0)
            context.words.assign(argv, argv + argc);
        const auto words = argv_of(context.words);
        fn(&context, static_cast<int>(context.words.size()), words.data(), arg);
        text = output.text();
        return text.c_str();
    });
}

} // extern "C"
