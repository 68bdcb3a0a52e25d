// The adapters of the four kinds: what they pass on, which errors they rewrite, what they hold.
#include <gtest/gtest.h>

#include "doubles/Fault.h"
#include "doubles/MemoryFiles.h"
#include "files/JsFileAccessor.h"
#include "module/Kinds.h"

namespace vexil3::test {

namespace {

// Diagnostics are on for a whole test, which must end balanced.
class Balanced : public testing::Test {
protected:
    Balanced() {
        MemoryDiagnostic::reset();
        MemoryDiagnostic::gEnabled = 1;
        std::vector<int> table = {0, 1, 1, 2, 3, 3, 4, 5, 7, 7, 9, 9, 10};
        mCache.add("a.jsl", table);
    }
    ~Balanced() override {
        EXPECT_EQ(MemoryDiagnostic::registered(), MemoryDiagnostic::released());
        EXPECT_EQ(MemoryDiagnostic::alive(), 0u);
        MemoryDiagnostic::gEnabled = 0;
    }

    js::FileLinesCache mCache;
};

const Raised kLuaFault = {"a.jsl:12: no value\n\ta.jsl:8: in main chunk", "a.jsl", 5};
const std::vector<Fault> kJavaScriptFault = {{4, 100, "a.jsl:10: no value\n\ta.jsl:7: in main chunk", "a.jsl", 3, 7}};

template <class Kind>
class Adapters : public Balanced {};

using AllKinds = testing::Types<IndicatorKind, StrategyKind, ToolKind, MacroKind>;
TYPED_TEST_SUITE(Adapters, AllKinds);

}  // namespace

TYPED_TEST(Adapters, InstancePassesEveryOperationOn) {
    using Instance = typename TypeParam::Instance;
    typename TypeParam::Host profile;
    typename TypeParam::HostInstance callback(&profile);
    typename TypeParam::Recorder maker;
    auto* inner = maker.getInstanceImplementation();
    const Ref<typename TypeParam::InstanceAdapter> adapter(new
                                                           typename TypeParam::InstanceAdapter(inner, &this->mCache));
    inner->release();  // the adapter holds one of its own

    auto calls = TypeParam::converting();
    calls.push_back([](Instance& i, IError**) {
        return i.findMember("m", somewhere<int>(30), somewhere<IExecutable::MemberType>(31));
    });
    calls.push_back([](Instance& i, IError**) { return i.isArray(); });
    if constexpr (requires(Instance & i) { i.canChangeParameters(); })
        calls.push_back([](Instance& i, IError**) { return i.canChangeParameters(); });
    // Besides these, the interface holds init and invoke.
    EXPECT_EQ(calls.size() + 2, TypeParam::lastInstanceSlot() - slotOf(&IObject::release));

    Ref<IError> error;
    EXPECT_TRUE(adapter->init(&callback, error.out()));
    EXPECT_EQ(inner->journal.take(), std::vector{"init " + shown(&callback)});
    for (const bool answer : {true, false})
        for (const auto call : calls) {
            inner->answer = answer;
            call(*inner, nullptr);
            const auto direct = inner->journal.take();
            EXPECT_EQ(call(*adapter.get(), error.out()), answer) << direct.at(0);
            EXPECT_EQ(inner->journal.take(), direct);
            EXPECT_FALSE(error) << direct.at(0);
        }
    EXPECT_EQ(callback.asked, 0);
}

TYPED_TEST(Adapters, InstanceRewritesWhatAnyOperationReports) {
    typename TypeParam::Host profile;
    typename TypeParam::HostInstance callback(&profile);
    typename TypeParam::Recorder maker;
    maker.instancesRaise = kLuaFault;
    auto* inner = maker.getInstanceImplementation();
    const Ref<typename TypeParam::InstanceAdapter> adapter(new
                                                           typename TypeParam::InstanceAdapter(inner, &this->mCache));
    inner->release();

    const std::vector<Fault> raw = {{4, 100, kLuaFault.message, "a.jsl", 5, 7}};
    Ref<IError> error;
    TypeParam::converting().front()(*adapter.get(), error.out());
    EXPECT_EQ(faults(error), raw) << "nobody has named the script yet";
    for (const bool answer : {true, false}) {
        inner->answer = answer;
        EXPECT_EQ(adapter->init(&callback, error.out()), answer);
        EXPECT_EQ(faults(error), kJavaScriptFault);
        for (const auto call : TypeParam::converting()) {
            EXPECT_EQ(call(*adapter.get(), error.out()), answer);
            EXPECT_EQ(faults(error), kJavaScriptFault) << inner->journal.take().back();
            EXPECT_EQ(call(*adapter.get(), nullptr), answer);
        }
    }

    // What the slot held before stays in front.
    IError** slot = error.out();
    ErrorFactory::throwError(slot, IError::StageFile, IError::CodeNotFound, "earlier");
    adapter->releaseInstance(slot);
    ASSERT_EQ(faults(error).size(), 2u);
    EXPECT_EQ(faults(error)[0].message, "earlier");
    EXPECT_EQ(faults(error)[1], kJavaScriptFault[0]);
}

TYPED_TEST(Adapters, InvokeRewritesTheErrorInItsArguments) {
    typename TypeParam::Host profile;
    typename TypeParam::HostInstance callback(&profile);
    typename TypeParam::Recorder maker;
    auto* inner = maker.getInstanceImplementation();
    const Ref<typename TypeParam::InstanceAdapter> adapter(new
                                                           typename TypeParam::InstanceAdapter(inner, &this->mCache));
    inner->release();
    Arguments arguments;
    adapter->invoke(4, IExecutable::Get, somewhere<IObjectNoRef>(9), &arguments);
    EXPECT_EQ(inner->journal.take(),
              std::vector{"invoke 4 1 0x90 " + shown(static_cast<IExecutableArgs*>(&arguments))});
    EXPECT_TRUE(arguments.isSucceeded());

    inner->raised = kLuaFault;
    adapter->invoke(4, IExecutable::Call, nullptr, &arguments);
    EXPECT_EQ(faults(Ref<IError>(arguments.getError())).at(0).message, kLuaFault.message) << "before init";
    inner->raised = {};
    arguments.setError(nullptr);
    adapter->init(&callback, nullptr);
    adapter->invoke(4, IExecutable::Call, nullptr, &arguments);
    adapter->invoke(4, IExecutable::Call, nullptr, nullptr);
    EXPECT_EQ(callback.asked, 0) << "success asks nobody";

    inner->raised = kLuaFault;
    adapter->invoke(4, IExecutable::Call, nullptr, &arguments);
    EXPECT_FALSE(arguments.isSucceeded());
    EXPECT_EQ(faults(Ref<IError>(arguments.getError())), kJavaScriptFault);
}

TYPED_TEST(Adapters, ProfileInitialisesWithItsWrapperAndRewritesErrors) {
    const Ref<MemoryAccessor> files(new MemoryAccessor);
    typename TypeParam::Host host;
    host.accessor = Ref<IFileAccessor>::share(files.get());
    auto* inner = new typename TypeParam::Recorder;
    int gone = 0;
    std::uint64_t left = 0;
    inner->gone = &gone;
    inner->left = &left;
    {
        const Ref<typename TypeParam::Adapter> profile(new typename TypeParam::Adapter(inner, &this->mCache));
        EXPECT_EQ(profile->getLanguage(), ILanguageService::JavaScript);
        Ref<IError> error;
        for (const bool answer : {true, false}) {
            inner->answer = answer;
            EXPECT_EQ(profile->init(&host, error.out()), answer);
            EXPECT_FALSE(error);
        }
        EXPECT_EQ(host.journal.take(), std::vector<std::string>(2, "getFileAccessor")) << "only the accessor is asked";
        EXPECT_NE(inner->callback, static_cast<typename TypeParam::Callback*>(&host));
        EXPECT_TRUE(inner->callback->is(TypeParam::Wrapper::ID));

        inner->raised = kLuaFault;
        EXPECT_FALSE(profile->init(&host, error.out()));
        EXPECT_EQ(faults(error), kJavaScriptFault);
        EXPECT_EQ(host.journal.take(), (std::vector<std::string>{"getFileAccessor", "getObjectID"}));
        EXPECT_FALSE(profile->init(nullptr, error.out()));
        EXPECT_EQ(inner->callback, nullptr);
        EXPECT_EQ(faults(error).at(0).message, kLuaFault.message);

        const Ref<typename TypeParam::Instance> first(profile->getInstanceImplementation());
        auto* const firstInner = inner->lastInstance;
        const Ref<typename TypeParam::Instance> second(profile->getInstanceImplementation());
        EXPECT_NE(first.get(), second.get());
        EXPECT_TRUE(first->is(TypeParam::InstanceAdapter::ID));
        first->isArray();
        EXPECT_EQ(firstInner->journal.take(), std::vector<std::string>{"isArray"});
        EXPECT_TRUE(inner->lastInstance->journal.take().empty());

        inner->hasInstances = false;
        EXPECT_EQ(profile->getInstanceImplementation(), nullptr);
        EXPECT_EQ(gone, 0);
    }
    EXPECT_EQ(gone, 3) << "the profile and its two instances";
    EXPECT_EQ(left, 3u) << "the files, the adapter and itself: its callback's accessor went before it";
    host.accessor = Ref<IFileAccessor>();
}

TYPED_TEST(Adapters, CallbackWrapperForwardsEverythingButTheAccessor) {
    using Callback = typename TypeParam::Callback;
    const Ref<MemoryAccessor> files(new MemoryAccessor), otherFiles(new MemoryAccessor);
    typename TypeParam::Host host, other;
    host.accessor = Ref<IFileAccessor>::share(files.get());
    other.accessor = Ref<IFileAccessor>::share(otherFiles.get());
    typename TypeParam::Wrapper wrapper;
    wrapper.setProfile(&host);
    EXPECT_EQ(host.journal.take(), std::vector<std::string>{"getFileAccessor"});

    std::vector<CallbackCall<Callback>> calls = {
        [](Callback& c) { return shown(c.getType()); },       [](Callback& c) { return shown(c.getLanguage()); },
        [](Callback& c) { return shown(c.getObjectID()); },   [](Callback& c) { return shown(c.getID()); },
        [](Callback& c) { return shown(c.getName()); },       [](Callback& c) { return shown(c.getDescription()); },
        [](Callback& c) { return shown(c.getParameters()); }, [](Callback& c) { return shown(c.getTags()); },
        [](Callback& c) { return shown(c.isPublic()); },      [](Callback& c) { return shown(c.activeInstances()); },
        [](Callback& c) { return shown(c.getDomain()); },     [](Callback& c) { return shown(c.getHost()); }};
    for (const auto call : TypeParam::forwarding()) calls.push_back(call);
    EXPECT_EQ(calls.size() + 1, TypeParam::lastCallbackSlot() - slotOf(&IObjectNoRef::to));
    for (const auto call : calls) {
        const std::string direct = call(host);
        const auto asked = host.journal.take();
        EXPECT_EQ(call(wrapper), direct) << asked.at(0);
        EXPECT_EQ(host.journal.take(), asked);
    }

    const Ref<IFileAccessor> accessor(wrapper.getFileAccessor());
    EXPECT_TRUE(accessor->is(js::JsFileAccessor::ID));
    EXPECT_EQ(Ref<IFileAccessor>(wrapper.getFileAccessor()).get(), accessor.get());
    EXPECT_TRUE(host.journal.take().empty());
    accessor->exists("f", nullptr);
    EXPECT_EQ(files->journal.take(), std::vector<std::string>{"exists f"});

    wrapper.setProfile(&other);
    EXPECT_EQ(shown(wrapper.getName()), "a name");
    EXPECT_TRUE(host.journal.take().empty());
    Ref<IFileAccessor>(wrapper.getFileAccessor())->exists("g", nullptr);
    EXPECT_EQ(otherFiles->journal.take(), std::vector<std::string>{"exists g"});
    typename TypeParam::Wrapper neverBound;
    EXPECT_EQ(neverBound.getFileAccessor(), nullptr);
}

TEST_F(Balanced, ToolAndMacroForwardTheirIconAndTheMacroItsTexts) {
    auto* tool = new ToolProfileRecorder;
    const Ref<js::ToolProfileImplementation> toolAdapter(new js::ToolProfileImplementation(tool, &mCache));
    EXPECT_EQ(toolAdapter->getIconStatus(kHost), IProfile::IconHidden);
    EXPECT_EQ(tool->journal.take(), std::vector{"getIconStatus " + shown(kHost)});

    auto* macro = new MacroProfileRecorder;
    const Ref<js::MacroProfileImplementation> adapter(new js::MacroProfileImplementation(macro, &mCache));
    EXPECT_EQ(adapter->getIconStatus(kHost), IProfile::IconHidden);
    void* part = nullptr;
    ASSERT_TRUE(adapter->to(IProfileLocalization::ID, &part));
    EXPECT_STREQ(static_cast<IProfileLocalization*>(part)->getLocalizationFile(), "texts.xml");
    EXPECT_STREQ(adapter->getLocalizationFile(), "texts.xml");
    macro->localized = false;
    EXPECT_EQ(adapter->getLocalizationFile(), nullptr);
    EXPECT_TRUE(adapter->is(IProfileLocalization::ID));
}

}  // namespace vexil3::test
