// What a request carries: the target, the wanted properties, the failures.
#include "store/instance_operations.h"

#include "requests/return_messages.h"
#include "tests/store/store_test.h"

#include <array>
#include <cstdlib>

namespace {

using namespace store_test;
using doubles::context;
using testing::ElementsAre;

constexpr std::array<const char*, 3> kNames{"A", "B", "C"};

class InputData : public StoreTest {
protected:
    int get(int count = 3, const char* const* names = kNames.data()) {
        FieldValuePair before;
        FieldValuePair* data = &before;
        const int result = getInputData(context(), "key", count, names, &target_, &data, &answer_);
        EXPECT_NE(data, &before) << "not set";
        data_.reset(data == &before ? nullptr : data);
        return result;
    }
    ~InputData() override { freeReturnMessage(&answer_); }

    std::string shown(std::size_t count) const {
        std::string text;
        for (std::size_t i = 0; i < count; ++i) {
            text += std::string(i == 0 ? "" : " ") + data_[i].name + '=' + data_[i].value;
        }
        return text;
    }

public:
    InputData() = default;
    InputData(const InputData&) = delete;
    InputData& operator=(const InputData&) = delete;

protected:
    std::string target_ = "before";
    MallocPtr<FieldValuePair[]> data_;
    ReturnMessage answer_ = kSuccessTemplate;
};

// Records from the C allocator, as osselHashGetAll returns them.
FieldValuePair* stored(const std::vector<FieldValuePair>& records) {
    auto* const copy =
        static_cast<FieldValuePair*>(std::calloc(records.size() + 1, sizeof(FieldValuePair)));
    std::copy(records.begin(), records.end(), copy);
    return copy;
}

TEST_F(InputData, FindsTheTargetAndTheWantedValuesInTheOrderOfTheNames) {
    doubles::hashes()["key"] = {{"C", "3"}, {"OriginalObjID", "target"}, {"X", "9"}, {"A", "1"}};
    EXPECT_EQ(get(), 0);
    EXPECT_EQ(target_, "target");
    EXPECT_EQ(shown(3), "A=1 B= C=3");
    EXPECT_STREQ(answer_.messageId, "Success");
    EXPECT_THAT(doubles::calls(), ElementsAre("osselHashGetAll(ctx, \"key\")"));
    EXPECT_EQ(output(), "");
}

TEST_F(InputData, EmptiesTheTargetWhenThereIsNone) {
    doubles::hashes()["key"] = {{"A", "1"}};
    EXPECT_EQ(get(), 0);
    EXPECT_EQ(target_, "");
}

TEST_F(InputData, ReturnsNoRecordsForACountOfZeroOrLess) {
    doubles::hashes()["key"] = {{"OriginalObjID", "target"}, {"A", "1"}};
    for (const int count : {0, -1}) {
        EXPECT_EQ(get(count), 0);
        EXPECT_EQ(target_, "target");
        EXPECT_EQ(data_, nullptr);
    }
}

TEST_F(InputData, ZeroesTheWholeBlock) {
    doubles::hashes()["key"] = {{"X", "1"}};
    EXPECT_EQ(get(1), 0);
    const FieldValuePair expected = fieldOf("A", "");
    EXPECT_EQ(std::memcmp(&data_[0], &expected, sizeof expected), 0);
}

TEST_F(InputData, AnswersInvalidObjectForAnEmptyHash) {
    for (const bool hexadecimal : {false, true}) {
        hexadecimal ? hexStream() : decimalStream();
        EXPECT_EQ(get(), 1);
        EXPECT_EQ(output(), "[getInputData]: Failed to call osselHashGetAll( key ). uiCount is "
                            "0.\n");
        EXPECT_STREQ(answer_.messageId, "InvalidObject");
        ASSERT_EQ(answer_.argCount, 1);
        EXPECT_STREQ(answer_.args[0], "key");
        EXPECT_EQ(target_, "");
        EXPECT_EQ(data_, nullptr);
        freeReturnMessage(&answer_);
    }
}

TEST_F(InputData, AnswersInvalidObjectWhenThereIsACountButNoResult) {
    for (const auto& [stream, count] : {std::pair{&decimalStream, "12"}, {&hexStream, "c"}}) {
        stream();
        doubles::answerHashGetAll(nullptr, 12);
        EXPECT_EQ(get(), 1);
        EXPECT_EQ(
            output(),
            std::string("[getInputData]: Failed to call osselHashGetAll( key ). uiCount is ") +
                count + ".\n");
        EXPECT_STREQ(answer_.messageId, "InvalidObject");
        freeReturnMessage(&answer_);
    }
}

// The leak check shows that they are freed.
TEST_F(InputData, FreesAResultWithoutRecords) {
    doubles::answerHashGetAll(stored({}), 0);
    EXPECT_EQ(get(), 1);
    EXPECT_STREQ(answer_.messageId, "InvalidObject");
}

TEST_F(InputData, AnswersInternalErrorWithoutMemoryForTheRecords) {
    doubles::hashes()["key"] = {{"OriginalObjID", "target"}};
    doubles::failAllocation(1);
    EXPECT_EQ(get(), 1);
    ASSERT_TRUE(doubles::allocationFailed());
    doubles::failAllocation(0);
    EXPECT_EQ(output(), "[getInputData]: Failed to call malloc() for *data.\n");
    EXPECT_STREQ(answer_.messageId, "InternalError");
    EXPECT_EQ(answer_.argCount, 0);
    EXPECT_EQ(data_, nullptr);
    EXPECT_EQ(target_, "");
}

TEST_F(InputData, FillsOnlyTheFirstOfTwoEqualNames) {
    constexpr std::array<const char*, 3> kTwice{"A", "B", "A"};
    doubles::hashes()["key"] = {{"A", "1"}};
    EXPECT_EQ(get(3, kTwice.data()), 0);
    EXPECT_EQ(shown(3), "A=1 B= A=");
}

TEST_F(InputData, LetsALaterStoredRecordOfTheSameNameWin) {
    doubles::answerHashGetAll(stored({fieldOf("A", "1"), fieldOf("OriginalObjID", "one"),
                                      fieldOf("A", "2"), fieldOf("OriginalObjID", "two")}),
                              4);
    EXPECT_EQ(get(), 0);
    EXPECT_EQ(shown(3), "A=2 B= C=");
    EXPECT_EQ(target_, "two");
}

TEST_F(InputData, ReadsNoRecordBeyondTheCount) {
    doubles::answerHashGetAll(stored({fieldOf("A", "1"), fieldOf("OriginalObjID", "target"),
                                      fieldOf("OriginalObjID", "beyond")}),
                              2);
    EXPECT_EQ(get(), 0);
    EXPECT_EQ(target_, "target");
}

TEST_F(InputData, NeverCopiesTheTargetIntoAWantedProperty) {
    constexpr std::array<const char*, 1> kTarget{"OriginalObjID"};
    doubles::hashes()["key"] = {{"OriginalObjID", "target"}};
    EXPECT_EQ(get(1, kTarget.data()), 0);
    EXPECT_EQ(target_, "target");
    EXPECT_EQ(shown(1), "OriginalObjID=");
}

TEST_F(InputData, ComparesNamesExactly) {
    doubles::hashes()["key"] = {{"a", "1"}, {"A ", "2"}, {"originalObjID", "target"}};
    EXPECT_EQ(get(), 0);
    EXPECT_EQ(shown(3), "A= B= C=");
    EXPECT_EQ(target_, "");
}

TEST_F(InputData, KeepsValuesOf1023Characters) {
    doubles::hashes()["key"] = {{"A", std::string(1023, 'v')}};
    EXPECT_EQ(get(), 0);
    EXPECT_EQ(data_[0].value, std::string(1023, 'v'));
}

TEST_F(InputData, NarrowsTheCountTo8BitsForTheNamesAlone) {
    std::vector<std::string> texts;
    texts.reserve(258);
    for (int i = 0; i < 258; ++i) {
        texts.push_back("N" + std::to_string(i));
    }
    std::vector<const char*> names;
    names.reserve(texts.size());
    for (const std::string& text : texts) {
        names.push_back(text.c_str());
    }
    doubles::hashes()["key"] = {{"N1", "one"}, {"N2", "two"}, {"N257", "last"}};
    EXPECT_EQ(get(258, names.data()), 0);
    EXPECT_STREQ(data_[1].name, "N1");
    EXPECT_STREQ(data_[1].value, "one");
    EXPECT_STREQ(data_[2].name, "");
    EXPECT_STREQ(data_[2].value, "two");
    EXPECT_STREQ(data_[257].name, "");
    EXPECT_STREQ(data_[257].value, "last");
}

TEST_F(InputData, NamesNoRecordForACountOf256) {
    const std::vector<const char*> names(256, "Same");
    doubles::hashes()["key"] = {{"Same", "first"}};
    EXPECT_EQ(get(256, names.data()), 0);
    EXPECT_STREQ(data_[0].name, "");
    EXPECT_STREQ(data_[0].value, "first");
    EXPECT_STREQ(data_[255].value, "");
}

TEST_F(InputData, IsReadAlikeForUpdatesCreationsAndActions) {
    doubles::hashes()["key"] = {{"OriginalObjID", "target"}, {"B", "2"}};
    const UpdateHandlerEntry row{"00002", 1, 2, kNames.data(), nullptr};
    const ActionHandlerEntry action{"Name", 2, kNames.data(), nullptr};
    const auto check = [this](auto collect, const auto& entry) {
        FieldValuePair* data = nullptr;
        target_ = "before";
        EXPECT_EQ(collect(context(), entry, "key", &target_, &data, &answer_), 0);
        data_.reset(data);
        EXPECT_EQ(target_, "target");
        EXPECT_EQ(shown(2), "A= B=2");
    };
    check(getUpdateProperties, row);
    check(getCreateProperties, row);
    check(getActionParameters, action);
}

TEST_F(InputData, FailsAlikeForUpdatesCreationsAndActions) {
    const UpdateHandlerEntry row{"00002", 1, 2, kNames.data(), nullptr};
    const ActionHandlerEntry action{"Name", 2, kNames.data(), nullptr};
    const auto check = [this](auto collect, const auto& entry) {
        FieldValuePair* data = nullptr;
        EXPECT_EQ(collect(context(), entry, "key", &target_, &data, &answer_), 1);
        EXPECT_EQ(data, nullptr);
        EXPECT_STREQ(answer_.messageId, "InvalidObject");
        freeReturnMessage(&answer_);
        EXPECT_EQ(output(), "[getInputData]: Failed to call osselHashGetAll( key ). uiCount is "
                            "0.\n");
    };
    check(getUpdateProperties, row);
    check(getCreateProperties, row);
    check(getActionParameters, action);
}

} // namespace
