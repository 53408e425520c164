#include "commands.h"

#include "message_types.h"
#include "values.h"

#include <kov/kov_messages.h>
#include <kov/platform/cli.h>

#include <deque>
#include <exception>

namespace kov_lab
{
namespace
{

// What the host keeps a pointer to.
struct Bound {
    const CommandRow *row;
    void *arg;
};

Reply run_row(const CommandRow &row, const Call &call)
{
    if (call.words.size() >= row.least && call.words.size() <= row.most)
        return row.run(call);
    const std::string name = row.name;
    return misuse(row.takes[0] == '\0' ? name : name + " " + row.takes);
}

int run(void *cli, int argc, const char *const *argv, void *arg)
{
    const Bound &command = *static_cast<const Bound *>(arg);
    try {
        return print(cli, run_row(*command.row, {cli, {argv, static_cast<std::size_t>(argc)}, command.arg}));
    } catch (const std::exception &problem) {
        return print(cli, refusal(problem.what()));
    }
}

void complete(void *cli, int argc, const char *const *argv, void *arg)
{
    const Bound &command = *static_cast<const Bound *>(arg);
    try {
        Candidates candidates;
        command.row->complete({cli, {argv, static_cast<std::size_t>(argc)}, command.arg}, candidates);
        for (const std::string &candidate : candidates)
            cli_cmd_printf(cli, "%s\n", candidate.c_str());
    } catch (const std::exception &) {
        return; // then there is nothing to propose
    }
}

Candidates values_of(const Field &field)
{
    const auto texts = [](std::span<const Word> words) {
        Candidates all;
        for (const Word &word : words)
            all.emplace_back(word.text);
        return all;
    };
    switch (field.kind) {
    case Kind::yes_no:
        return {"yes", "no"};
    case Kind::on_off:
        return {"on", "off"};
    case Kind::fwd_mode:
        return texts(fwd_mode_words);
    case Kind::encap:
        return texts(encap_words);
    case Kind::suppress:
        return texts(suppress_mode_words);
    case Kind::roles:
        return texts(role_words);
    case Kind::svi:
        return {svi_kind, "none"};
    default:
        return {};
    }
}

Candidates types_of(bool (*allowed)(std::uint32_t mtype))
{
    Candidates words;
    for (std::uint32_t mtype = 1; mtype < KOV_MTYPE_END; ++mtype)
        if (allowed(mtype))
            words.push_back(mtype_word(mtype));
    return words;
}

} // namespace

const char svi_kind[] = "<svi>";
const char port_kind[] = "<port>";
const char topology_kind[] = "<topology>";
const char vrf_kind[] = "<vrf>";

int add_commands(std::span<const CommandRow> rows, void *arg)
{
    static std::deque<Bound> bound;
    for (const CommandRow &row : rows) {
        bound.push_back({&row, arg});
        const std::string takes = row.takes;
        const std::string help = (takes.empty() ? "" : takes + ": ") + row.help;
        if (kov_host_command_add(row.name, help.c_str(), run, &bound.back()) != 0 ||
            kov_host_command_offer(row.name, row.complete != nullptr ? complete : nullptr,
                                   row.json ? 1 : 0) != 0)
            return -1;
    }
    return 0;
}

void complete_settings(std::span<const Field> fields, bool (*allowed)(std::uint32_t mtype),
                       std::string_view partial, Candidates &out)
{
    const std::size_t equals = partial.find('=');
    const auto name = partial.substr(0, equals);
    const auto offer = [&](const std::string &field, const Candidates &values) {
        if (equals == partial.npos)
            out.push_back(field + "=");
        for (const std::string &value : values)
            if (name == field && equals != partial.npos)
                out.push_back(std::string(field).append("=").append(value));
    };
    for (const Field &field : fields)
        offer(field.name, values_of(field));
    if (allowed != nullptr)
        offer("as", types_of(allowed));
}

} // namespace kov_lab
