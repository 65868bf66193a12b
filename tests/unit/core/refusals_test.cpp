#include <support/identifier_matchers.hpp>

#include <tarnix/io/ftp/core.hpp>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

namespace {

/// What libcurl's escaping answers in this program, and the length that it was given last.
const char* answer = nullptr;
int answered_length = 0;
int given_length = -1;
int calls = 0;

/// How many entries of a string list libcurl still takes.
int entries_left = INT_MAX;

char* copy_of_answer(int length)
{
    ++calls;
    given_length = length;
    // Freed by curl_free, which is free.
    return answer ? strdup(answer) : nullptr;
}

} // namespace

extern "C" {

char* curl_easy_escape(CURL*, const char*, int length)
{
    return copy_of_answer(length);
}

char* curl_easy_unescape(CURL*, const char*, int length, int* output_length)
{
    *output_length = answered_length;
    return copy_of_answer(length);
}

curl_slist* curl_slist_append(curl_slist* list, const char* entry)
{
    using append = curl_slist* (*)(curl_slist*, const char*);
    static const auto real = reinterpret_cast<append>(dlsym(RTLD_NEXT, "curl_slist_append"));
    return entries_left-- > 0 ? real(list, entry) : nullptr;
}

} // extern "C"

namespace tarnix::test {
namespace {

using namespace tarnix::io::ftp::core;

constexpr std::size_t two_gibibytes = 2147483648;

/// A text of which no byte but the last is ever touched, so that it takes no memory.
std::string untouched_text(std::size_t size)
{
    std::string text;
    text.resize_and_overwrite(size, [](char*, std::size_t full) { return full; });
    return text;
}

class escaping : public testing::Test {
protected:
    escaping()
    {
        answer = "answer";
        answered_length = 6;
        given_length = -1;
        calls = 0;
    }

    curl_ptr handle_{false};
};

const auto too_long =
    id_of<ids::InternalError>("Percent Encoding", "Exceeded maximum string length");
const auto no_memory = id_of<ids::InternalError>("Percent Decoding", "Allocation failure");

TEST_F(escaping, a_text_of_2_gibibytes_is_too_long_to_encode)
{
    EXPECT_ERROR_ID(percent_encode(handle_, untouched_text(two_gibibytes)), too_long);
    EXPECT_EQ(calls, 0);
}

TEST_F(escaping, a_text_of_2_gibibytes_is_too_long_to_decode_in_the_words_of_the_encoder)
{
    EXPECT_ERROR_ID(percent_decode(handle_, untouched_text(two_gibibytes)), too_long);
    EXPECT_EQ(calls, 0);
}

TEST_F(escaping, a_text_of_one_byte_less_is_handed_to_libcurl)
{
    const auto longest = untouched_text(two_gibibytes - 1);
    EXPECT_EQ(percent_encode(handle_, longest), "answer");
    EXPECT_EQ(given_length, INT_MAX);
    given_length = -1;
    EXPECT_EQ(percent_decode(handle_, longest), "answer");
    EXPECT_EQ(given_length, INT_MAX);
}

TEST_F(escaping, a_negative_length_is_an_allocation_failure)
{
    answered_length = -1;
    EXPECT_ERROR_ID(percent_decode(handle_, "a"), no_memory);
}

TEST_F(escaping, nothing_decoded_is_an_allocation_failure)
{
    answer = nullptr;
    EXPECT_ERROR_ID(percent_decode(handle_, "a"), no_memory);
}

TEST_F(escaping, nothing_encoded_is_the_same_failure)
{
    answer = nullptr;
    EXPECT_ERROR_ID(percent_encode(handle_, "a"), no_memory);
}

TEST_F(escaping, as_many_bytes_are_taken_as_libcurl_says)
{
    answered_length = 3;
    EXPECT_EQ(percent_decode(handle_, "a"), "ans");
    answered_length = 0;
    EXPECT_EQ(percent_decode(handle_, "a"), "");
}

TEST(StringList, raises_bad_alloc_when_an_entry_is_refused_and_frees_those_before)
{
    entries_left = 1;
    EXPECT_THROW((slist{"RNFR a", "RNTO b"}), std::bad_alloc);
    entries_left = INT_MAX;
}

} // namespace
} // namespace tarnix::test
