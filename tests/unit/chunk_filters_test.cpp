// The filters of chunks by themselves: how they and HDF5 get on is tested with files.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <random>
#include <utility>
#include <vector>

#include "chunks/byte_shuffle.hpp"
#include "chunks/filter_pipeline.hpp"
#include "chunks/fletcher32.hpp"
#include "chunks/thread_count.hpp"
#include "hdf5/handle.hpp"

namespace {

using Bytes = std::vector<std::byte>;

Bytes noise(std::size_t size) {
  std::mt19937 random(static_cast<unsigned>(size));
  Bytes bytes(size);
  for (std::byte& byte : bytes) byte = static_cast<std::byte>(random());
  return bytes;
}
Bytes compressible(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::byte>(i / 50 % 7);
  return bytes;
}

// --- Shuffle ------------------------------------------------------------------------------

TEST(ByteShuffle, BringsTheBytesOfAllElementsTogether) {
  for (const std::size_t size : {1U, 2U, 3U, 4U, 5U, 7U, 8U, 12U, 16U, 17U, 32U}) {
    for (const std::size_t elements : {2U, 15U, 16U, 17U, 33U, 1000U}) {
      const Bytes bytes = noise(size * elements + size - 1);  // less than an element remains
      Bytes shuffled(bytes.size());
      chunks::shuffle(bytes, size, shuffled.data());
      for (std::size_t i = 0; i < size * elements; ++i) {
        ASSERT_EQ(shuffled[i], bytes[i % elements * size + i / elements]) << size << " " << i;
      }
      Bytes back(bytes.size());
      chunks::unshuffle(shuffled, size, back.data());
      EXPECT_EQ(back, bytes) << size << " bytes, " << elements << " elements";
    }
  }
}

// --- Fletcher-32 --------------------------------------------------------------------------

TEST(Fletcher32, NoticesEveryBitThatIsWrong) {
  for (const std::size_t size : {1U, 2U, 7U, 720U, 721U, 5000U}) {
    Bytes bytes = noise(size);
    bytes.resize(size + chunks::kChecksumBytes);
    chunks::appendChecksum(bytes.data(), size);
    EXPECT_TRUE(chunks::endsWithChecksum(bytes));
    for (std::size_t i = 0; i < bytes.size(); i += 1 + bytes.size() / 50) {
      bytes[i] ^= std::byte{4};
      EXPECT_FALSE(chunks::endsWithChecksum(bytes)) << i << " of " << size;
      bytes[i] ^= std::byte{4};
    }
    std::swap(bytes[size], bytes[size + 1]);
    std::swap(bytes[size + 2], bytes[size + 3]);
    EXPECT_TRUE(chunks::endsWithChecksum(bytes)) << "as before HDF5 1.6.3";
  }
}

TEST(Fletcher32, IsNotBehindThreeBytes) {
  EXPECT_FALSE(chunks::endsWithChecksum({}));
  EXPECT_FALSE(chunks::endsWithChecksum(Bytes(3)));
}

TEST(Fletcher32, AddsUpBigEndianWords) {
  const Bytes bytes = {std::byte{1}, std::byte{2}, std::byte{3}, std::byte{4}};
  EXPECT_EQ(chunks::fletcher32(bytes), (0x0102U * 2 + 0x0304U) << 16 | (0x0102U + 0x0304U));
}

// --- Pipelines ----------------------------------------------------------------------------

class Pipelines : public testing::Test {
 protected:
  hdf5::PropertyList list{H5Pcreate(H5P_DATASET_CREATE)};
  chunks::FilterScratch scratch;

  void SetUp() override {
    const hsize_t chunk = 1;
    H5Pset_chunk(list.get(), 1, &chunk);
  }
  /// As a dataset of doubles has it.
  void setShuffle() {
    const unsigned size = 8;
    H5Pset_filter(list.get(), H5Z_FILTER_SHUFFLE, H5Z_FLAG_OPTIONAL, 1, &size);
  }
  [[nodiscard]] std::optional<chunks::FilterPipeline> pipeline() const {
    return chunks::FilterPipeline::of(list.get());
  }
  void expectRoundTrip(const Bytes& chunk, std::uint32_t mask) {
    const auto filters = pipeline();
    ASSERT_TRUE(filters);
    const auto encoded = filters->encode(chunk, scratch);
    ASSERT_TRUE(encoded);
    EXPECT_EQ(encoded->mask, mask);
    const Bytes stored(encoded->bytes.begin(), encoded->bytes.end());
    Bytes decoded(chunk.size());
    EXPECT_TRUE(filters->decode(stored, mask, decoded, scratch));
    EXPECT_EQ(decoded, chunk);
    // What is not all there, or not of such a chunk.
    for (const std::size_t cut : {std::size_t{1}, stored.size() / 2, stored.size()}) {
      EXPECT_FALSE(filters->decode({stored.data(), stored.size() - cut}, mask, decoded, scratch));
    }
    Bytes larger(chunk.size() + 8);
    EXPECT_FALSE(filters->decode(stored, mask, larger, scratch));
    Bytes smaller(chunk.size() - 8);
    EXPECT_FALSE(filters->decode(stored, mask, smaller, scratch));
  }
};

TEST_F(Pipelines, GoThereAndBack) {
  setShuffle();
  H5Pset_deflate(list.get(), 6);
  H5Pset_fletcher32(list.get());
  expectRoundTrip(compressible(8000), 0);
}

TEST_F(Pipelines, LeaveOutADeflateFilterThatGainsNothing) {
  setShuffle();
  H5Pset_deflate(list.get(), 6);
  H5Pset_fletcher32(list.get());
  expectRoundTrip(noise(8000), 0b10);
}

TEST_F(Pipelines, ChecksumsMayComeFirst) {
  H5Pset_fletcher32(list.get());
  H5Pset_deflate(list.get(), 1);
  expectRoundTrip(compressible(8000), 0);
  expectRoundTrip(noise(8000), 0b10);
}

TEST_F(Pipelines, AreNoneWithoutFiltersOrWithOtherOnes) {
  EXPECT_FALSE(pipeline());
  H5Pset_nbit(list.get());
  EXPECT_FALSE(pipeline());
}

TEST_F(Pipelines, AreNoneWithParametersThatHdf5DoesNotGive) {
  const unsigned level = 11;
  H5Pset_filter(list.get(), H5Z_FILTER_DEFLATE, 0, 1, &level);
  EXPECT_FALSE(pipeline());
  H5Premove_filter(list.get(), H5Z_FILTER_ALL);
  H5Pset_filter(list.get(), H5Z_FILTER_DEFLATE, 0, 0, nullptr);
  EXPECT_FALSE(pipeline());
}

// --- Threads ------------------------------------------------------------------------------

TEST(ThreadCount, IsWhatTheEnvironmentSaysIfItIsANumber) {
  unsetenv("H5GATE_THREADS");
  const unsigned cores = chunks::threadCount().threads;
  EXPECT_GE(cores, 1U);
  EXPECT_FALSE(chunks::threadCount().switchedOff);
  const auto with = [](const char* text) {
    setenv("H5GATE_THREADS", text, 1);
    const chunks::ThreadCount count = chunks::threadCount();
    unsetenv("H5GATE_THREADS");
    return count;
  };
  EXPECT_EQ(with("3").threads, 3U);
  EXPECT_TRUE(with("1").switchedOff);
  EXPECT_EQ(with("4000").threads, with("99999999999999").threads);
  for (const char* text : {"", "0", "-1", "2.5", "two", "2 "}) {
    EXPECT_EQ(with(text).threads, cores) << text;
    EXPECT_FALSE(with(text).switchedOff) << text;
  }
}

}  // namespace
