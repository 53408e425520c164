// An audit as a person reads it, and as a program does.
#include "audit.h"
#include "reply.h"
#include "text_line.h"

#include <map>

namespace kov_lab
{
namespace
{

std::string row_of(const AuditSection &section)
{
    const std::string head =
        line("%-20s %9zu %10zu", section.name.c_str(), section.in_database, section.cacheable);
    if (!section.compared)
        return line("%-20s %9zu  not compared: ", section.name.c_str(), section.in_database) +
               section.why_not + "\n";
    return head + line(" %8zu %6zu %10zu %12zu\n", section.missing.size(), section.extra.size(),
                       section.different.size(), section.undecodable.size());
}

std::string findings_of(const AuditSection &section)
{
    std::string text;
    for (const std::string &key : section.missing)
        text += section.name + ": " + key + " is missing in the cache\n";
    for (const std::string &key : section.extra)
        text += section.name + ": " + key + " is in the cache, and the database has nothing to cache there\n";
    for (const DifferentRecord &record : section.different)
        for (const Disagreement &field : record.fields)
            text += section.name + ": " + record.key + ": " + field.field + " is " + field.cache +
                    " in the cache and " + field.database + " in the database\n";
    for (const PassedOver &record : section.undecodable)
        text += section.name + ": " + record.key + " cannot be decoded: " + record.why + "\n";
    return text;
}

// "SVIs: a fill passes over 13: 7 forward as Standard, a mode that is not cached; ..."
std::string passed_over(const AuditSection &section)
{
    std::map<std::string, std::size_t> reasons;
    for (const PassedOver &record : section.passed_over)
        ++reasons[record.why];
    std::string text;
    for (const auto &[why, count] : reasons)
        text += section.name + ": a fill passes over " + std::to_string(count) + ": " + why + "\n";
    return text;
}

std::string verdict(const Audit &audit)
{
    const std::size_t count = audit.differences();
    if (count != 0)
        return std::to_string(count) + (count == 1 ? " record differs" : " records differ");
    for (const AuditSection &section : audit.sections)
        if (!section.compared)
            return "no difference in what can be compared";
    return "no difference";
}

Json list_of(const std::vector<PassedOver> &records)
{
    Json list = Json::array();
    for (const PassedOver &record : records)
        list.push_back({{"record", record.key}, {"why", record.why}});
    return list;
}

Json list_of(const std::vector<DifferentRecord> &records)
{
    Json list = Json::array();
    for (const DifferentRecord &record : records) {
        Json fields = Json::array();
        for (const Disagreement &field : record.fields)
            fields.push_back({{"field", field.field}, {"cache", field.cache}, {"database", field.database}});
        list.push_back({{"record", record.key}, {"fields", fields}});
    }
    return list;
}

Json object_of(const AuditSection &section)
{
    Json object = {{"name", section.name},
                   {"compared", section.compared},
                   {"database", section.in_database},
                   {"cacheable", section.cacheable},
                   {"missing", section.missing},
                   {"extra", section.extra},
                   {"different", list_of(section.different)},
                   {"undecodable", list_of(section.undecodable)},
                   {"passed_over", list_of(section.passed_over)},
                   {"unseen", section.unseen}};
    if (!section.compared)
        object["why_not"] = section.why_not;
    return object;
}

} // namespace

std::string audit_table(const Audit &audit)
{
    std::string text = line("%-20s %9s %10s %8s %6s %10s %12s\n", "Records", "Database", "Cacheable",
                            "Missing", "Extra", "Different", "Undecodable");
    for (const AuditSection &section : audit.sections)
        text += row_of(section);
    for (const AuditSection &section : audit.sections)
        text += passed_over(section);
    for (const AuditSection &section : audit.sections)
        text += findings_of(section);
    return text + verdict(audit) + "\n";
}

Json audit_json(const Audit &audit)
{
    Json records = Json::array();
    for (const AuditSection &section : audit.sections)
        records.push_back(object_of(section));
    return {{"differences", audit.differences()}, {"records", records}};
}

} // namespace kov_lab
