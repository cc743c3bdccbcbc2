#include "completion.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <map>

#include "lcmpResult.h"

namespace tool {
namespace {

using Candidates = std::vector<Candidate>;

bool takesValue(const CLI::Option& option) { return option.get_items_expected_max() > 0; }

bool isRepeatable(const CLI::Option& option) {
    return option.get_items_expected_max() > 1 ||
           option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
}

bool isHidden(const std::string& group) { return group.empty(); }

// The words before the one that is being typed.
class TypedWords {
public:
    explicit TypedWords(const CLI::App& program) : m_verb(&program) {}

    void take(const std::string& word) {
        if (m_awaiting != nullptr)
            takeValue(word);
        else if (word == "--")
            m_optionsOver = true;
        else if (beginsOption(word))
            takeOption(word);
        else if (const CLI::App* verb = m_positionals == 0 ? verbNamed(word) : nullptr)
            m_verb = verb;
        else
            ++m_positionals;
    }

    /// Whether this word, at this place, is an option.
    bool beginsOption(const std::string& word) const {
        return !m_optionsOver && word.size() > 1 && word[0] == '-';
    }

    const CLI::App& verb() const { return *m_verb; }

    /// The option whose value comes now, or null.
    const CLI::Option* awaiting() const { return m_awaiting; }

    bool has(const CLI::Option* option) const { return m_values.count(option) != 0; }

    bool expectsVerb() const { return m_positionals == 0; }

    /// Which of the verb's positional arguments comes now, or null.
    const CLI::Option* positional() const {
        std::size_t behind = m_positionals;
        for (const CLI::Option* option : m_verb->get_options()) {
            if (!option->get_positional())
                continue;
            const auto room = static_cast<std::size_t>(option->get_items_expected_max());
            if (behind < room)
                return option;
            behind -= room;
        }
        return nullptr;
    }

    /// What an option was told, here or in the environment; "" if nothing.
    std::string valueOf(const char* name) const {
        const CLI::Option* option = m_verb->get_option_no_throw(name);
        if (option == nullptr)
            return "";
        if (const auto value = m_values.find(option); value != m_values.end())
            return value->second;
        const char* environment = std::getenv(option->get_envname().c_str());
        return environment == nullptr ? "" : environment;
    }

private:
    const CLI::App* verbNamed(const std::string& name) const {
        const auto found =
            m_verb->get_subcommands([&name](const CLI::App* verb) { return verb->check_name(name); });
        return found.empty() ? nullptr : found[0];
    }

    void takeValue(const std::string& value) {
        m_values[m_awaiting] = value;
        m_awaiting = nullptr;
    }

    // "--model", "--model=FILE", "-o" or "-oFORMAT"
    void takeOption(const std::string& word) {
        const bool isLong = word[1] == '-';
        const auto end = isLong ? std::min(word.find('='), word.size()) : 2;
        const CLI::Option* option = m_verb->get_option_no_throw(word.substr(0, end));
        if (option == nullptr)
            return;
        m_values[option];
        m_awaiting = option;
        if (!takesValue(*option))
            m_awaiting = nullptr;
        else if (end < word.size())
            takeValue(word.substr(isLong ? end + 1 : end));
    }

    const CLI::App* m_verb;
    const CLI::Option* m_awaiting = nullptr;
    std::map<const CLI::Option*, std::string> m_values;
    std::size_t m_positionals = 0;
    bool m_optionsOver = false;
};

void addBeginningWith(const std::string& word, Candidates& candidates, const std::string& text,
                      const std::string& description) {
    if (text.compare(0, word.size(), word) == 0)
        candidates.push_back({text, description.substr(0, description.find('\n'))});
}

void addVerbs(const TypedWords& words, const std::string& word, Candidates& candidates) {
    for (const CLI::App* verb : words.verb().get_subcommands([](const CLI::App*) { return true; })) {
        if (!isHidden(verb->get_group()))
            addBeginningWith(word, candidates, verb->get_name(), verb->get_description());
    }
}

void addOptions(const TypedWords& words, const std::string& word, Candidates& candidates) {
    for (const CLI::Option* option : words.verb().get_options()) {
        if (!option->nonpositional() || isHidden(option->get_group()) ||
            (words.has(option) && !isRepeatable(*option)))
            continue;
        for (const std::string& name : option->get_lnames())
            addBeginningWith(word, candidates, "--" + name, option->get_description());
        for (const std::string& name : option->get_snames())
            addBeginningWith(word, candidates, "-" + name, option->get_description());
    }
}

// A list of choices stands in the description of an option's type: "FORMAT:{text,json}".
std::vector<std::string> choicesOf(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const auto open = type.find('{');
    if (open == std::string::npos)
        return {};
    return CLI::detail::split(type.substr(open + 1, type.find('}') - open - 1), ',');
}

const LcmpModel& modelOf(const TypedWords& words, LcmpModel& room) {
    const std::string file = words.valueOf("--model");
    std::vector<LcmpModelError> errors;
    if (file.empty())
        return lcmpModelStandard();
    lcmpModelLoadFile(file, room, errors);  // a bad one leaves the room empty
    return room;
}

Candidates resultCandidates(const std::string& word, const LcmpModel& /*model*/) {
    Candidates all;
    for (unsigned int result = 1; *lcmpResultName(result) != '\0'; ++result)
        addBeginningWith(word, all, std::to_string(result), lcmpResultName(result));
    return all;
}

// What the words in capitals stand for that descriptions call values by.
struct ValueKind {
    const char* name;
    Candidates (*candidates)(const std::string& word, const LcmpModel& model);
    const char* kind;
};

constexpr ValueKind valueKinds[] = {
    {"NAME", nameCandidates, ""},     {"ASSIGNMENT", assignmentCandidates, ""},
    {"OBJECT", objectCandidates, ""}, {"OBJECT[.VARIABLE]", objectCandidates, ""},
    {"RESULT", resultCandidates, ""}, {"FILE", nullptr, "files"},
    {"A", nullptr, "files"},          {"B", nullptr, "files"},
    {"DIR", nullptr, "folders"},      {"TARGET", nullptr, "hosts"},
};

const ValueKind* kindOf(const CLI::Option& option) {
    const std::string name = option.nonpositional() ? option.get_type_name() : option.get_name(true);
    const auto* const found =
        std::find_if(std::begin(valueKinds), std::end(valueKinds),
                     [&name](const ValueKind& kind) { return name.substr(0, name.find(':')) == kind.name; });
    return found == std::end(valueKinds) ? nullptr : found;
}

void addValues(const TypedWords& words, const CLI::Option& option, const std::string& word,
               Completion& completion) {
    for (const std::string& choice : choicesOf(option))
        addBeginningWith(word, completion.candidates, choice, "");
    const ValueKind* kind = kindOf(option);
    if (kind == nullptr)
        return;
    completion.kind = kind->kind;
    if (kind->candidates == nullptr)
        return;
    // An option takes several with commas between them: what is typed is the last.
    const auto last = option.nonpositional() ? word.rfind(',') + 1 : 0;
    LcmpModel room;
    for (Candidate candidate : kind->candidates(word.substr(last), modelOf(words, room))) {
        candidate.text.insert(0, word, 0, last);
        completion.candidates.push_back(std::move(candidate));
    }
}

// Behind "--output=", candidates begin with that, too.
void addAssignedValues(const TypedWords& words, const std::string& word, Completion& completion) {
    const auto equals = word.find('=');
    const CLI::Option* option = words.verb().get_option_no_throw(word.substr(0, equals));
    if (option == nullptr || !takesValue(*option))
        return;
    addValues(words, *option, word.substr(equals + 1), completion);
    for (Candidate& candidate : completion.candidates)
        candidate.text.insert(0, word, 0, equals + 1);
}

}  // namespace

Completion complete(const CLI::App& program, const std::vector<std::string>& words) {
    TypedWords before(program);
    for (std::size_t at = 0; at + 1 < words.size(); ++at)
        before.take(words[at]);
    const std::string word = words.empty() ? "" : words.back();
    Completion completion;
    if (before.awaiting() != nullptr) {
        addValues(before, *before.awaiting(), word, completion);
    } else if (before.beginsOption(word + "-") && !word.empty()) {
        word.find('=') == std::string::npos ? addOptions(before, word, completion.candidates)
                                            : addAssignedValues(before, word, completion);
    } else {
        if (before.expectsVerb())
            addVerbs(before, word, completion.candidates);
        if (const CLI::Option* positional = before.positional())
            addValues(before, *positional, word, completion);
    }
    return completion;
}

}  // namespace tool
