#include "tests/support/MethodCall.h"

#include <algorithm>
#include <functional>
#include <sstream>
#include <tuple>
#include <type_traits>

namespace android::test {

namespace {

// Gives the parameters of one call in their order, each by its type.
class Parameters {
  public:
    Parameters(const Texts& words, Answer* answer)
          : mWord(words.begin() + 1), mList(answer->lists.begin()), mAnswer(answer) {}

    template <typename... Types>
    void call(IStallscope& service, binder::Status (IStallscope::*method)(Types...)) {
        std::tuple<std::decay_t<Types>...> all{take(static_cast<std::decay_t<Types>*>(nullptr))...};
        mAnswer->status =
                std::apply([&](auto&... each) { return (service.*method)(each...); }, all);
        mAnswer->result = mIsFlag     ? mFlag ? "true" : "false"
                          : mIsNumber ? std::to_string(mNumber)
                                      : "nothing";
    }

  private:
    std::string take(std::string*) { return *mWord++; }
    String16 take(String16*) { return String16((mWord++)->c_str()); }
    int32_t take(int32_t*) { return std::stoi(*mWord++); }
    bool take(bool*) { return *mWord++ == "true"; }
    Texts* take(Texts**) { return &(mList++)->second; }
    bool* take(bool**) {
        mIsFlag = true;
        return &mFlag;
    }
    int32_t* take(int32_t**) {
        mIsNumber = true;
        return &mNumber;
    }
    template <typename Element>
    std::vector<Element> take(std::vector<Element>*) {
        Texts elements;
        std::istringstream stream(*mWord++);
        for (std::string element; std::getline(stream, element, ',');) {
            elements.push_back(element);
        }
        const Texts::const_iterator next = std::exchange(mWord, elements.begin());
        std::vector<Element> taken;
        while (mWord != elements.end()) {
            taken.push_back(take(static_cast<Element*>(nullptr)));
        }
        mWord = next;
        return taken;
    }

    Texts::const_iterator mWord;
    std::vector<std::pair<std::string, Texts>>::iterator mList;
    Answer* mAnswer;
    bool mFlag = true, mIsFlag = false, mIsNumber = false;
    int32_t mNumber = 0;
};

struct Method {
    std::function<void(IStallscope&, Parameters&)> call;
    Texts lists;
};

template <typename... Types>
Method make(binder::Status (IStallscope::*method)(Types...), Texts lists = {}) {
    return {[=](IStallscope& service, Parameters& parameters) { parameters.call(service, method); },
            std::move(lists)};
}

const std::map<std::string, Method>& methods() {
    using I = IStallscope;
    static const std::map<std::string, Method> sMethods = {
            {"dumpTraceWithBinderInfo", make(&I::dumpTraceWithBinderInfo)},
            {"getTransaction",
             make(&I::getTransaction, {"line", "java", "native", "sender", "receiver", "elapsed",
                                       "senderPid", "receiverPid"})},
            {"getAsyncTransaction", make(&I::getAsyncTransaction, {"line", "java", "native"})},
            {"getThreadFullInfo", make(&I::getThreadFullInfo, {"line", "java", "native"})},
            {"printfProcBinderInfo", make(&I::printfProcBinderInfo)},
            {"checkTransaction", make(&I::checkTransaction, {"line", "visited"})},
            {"getTransactProc", make(&I::getTransactProc, {"peer", "cmdline", "line"})},
            {"getFdSize", make(&I::getFdSize)},
            {"catchFdInfo", make(&I::catchFdInfo)},
            {"dumpTraceForPidWithTimeout", make(&I::dumpTraceForPidWithTimeout)},
            {"dumpTraceForPidList", make(&I::dumpTraceForPidList)},
            {"dumpTraceForPidListAsync", make(&I::dumpTraceForPidListAsync)}};
    return sMethods;
}

}  // namespace

const Texts& Answer::operator[](const std::string& list) const {
    return std::find_if(lists.begin(), lists.end(), [&](auto& each) { return each.first == list; })
            ->second;
}

Answer callMethod(IStallscope& service, const Texts& words, std::map<std::string, Texts> given) {
    const Method& method = methods().at(words.at(0));
    Answer answer;
    for (const std::string& name : method.lists) {
        answer.lists.emplace_back(name, given[name]);
    }
    Parameters parameters(words, &answer);
    method.call(service, parameters);
    return answer;
}

}  // namespace android::test
