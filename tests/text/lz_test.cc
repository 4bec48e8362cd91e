#include "text/lz.h"

#include <gtest/gtest.h>
#ifndef _WIN32
#include <sys/stat.h>
#endif

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

#ifndef _WIN32
#include "support/mspack_reference.h"
#endif
#include "support/temp_folder.h"
#include "text/bytes.h"

namespace fs = std::filesystem;

namespace tarv {
namespace {

using testing::TempFolder;
// The results of a sequence of calls, evaluated in order.
using Results = std::vector<std::int32_t>;

const std::string kSamples = TARV_SHARED_TESTDATA "/szdd/";

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string Noise(std::size_t n, unsigned seed) {
  std::mt19937 gen(seed);
  std::string s(n, '\0');
  for (auto& c : s)
    c = static_cast<char>(gen() & 0xFF);
  return s;
}

// Place-file-like text, with repeats at every distance.
std::string Text(std::size_t n) {
  std::string s;
  for (std::size_t i = 0; s.size() < n; ++i)
    s += "Ort " + std::to_string(i * 7 % 97) + ", Kreis " + std::to_string(i % 13) + "\r\n";
  s.resize(n);
  return s;
}

std::string WithLengthField(std::string szdd, std::uint32_t length) {
  for (std::size_t i = 0; i < 4; ++i)
    szdd[10 + i] = static_cast<char>((length >> (8 * i)) & 0xFF);
  return szdd;
}

std::string Expand(std::string_view bytes, std::int32_t expected_error = 0) {
  std::int32_t error = 1;
  std::string out = ExpandSzdd(bytes, error);
  EXPECT_EQ(error, expected_error);
  return out;
}

// Reads to the end or the first failure; `last` takes the last LZRead result.
std::string ReadAll(std::int32_t handle, std::int32_t* last = nullptr) {
  std::string out;
  char buffer[333];
  std::int32_t n = 0;
  while ((n = LZRead(handle, buffer, sizeof buffer)) > 0)
    out.append(buffer, static_cast<std::size_t>(n));
  if (last) *last = n;
  return out;
}

std::string ReadThroughHandle(const std::string& path) {
  const LzFile file(path);
  EXPECT_GE(file.get(), 0) << path;
  return ReadAll(file.get());
}

std::shared_ptr<const std::string> Image(const std::string& path) {
  std::int32_t error = 1;
  auto image = ExpandedImage(path, error);
  EXPECT_EQ(error, 0) << path;
  return image ? image : std::make_shared<const std::string>();
}

// Files dated an hour back count as settled.
fs::file_time_type LongAgo() {
  return fs::file_time_type::clock::now() - std::chrono::hours(1);
}

class Lz : public ::testing::Test {
 protected:
  void TearDown() override { ClearExpandedImages(); }

  // Writes the file; returns its path as a host writes it.
  std::string Put(const std::string& name, const std::string& bytes) {
    dir_.Write(name, bytes);
    return dir_.str() + "\\" + name;
  }

  TempFolder dir_;
};

// The decoder expands exactly what libmspack expands, whole or damaged; on
// Windows, files are expanded by Windows' own LZ service, held to the
// decoder on the same inputs.
std::vector<std::string> WholeCutAndNoisyInputs() {
  std::vector<std::string> files = {ReadFile(kSamples + "mscompress_test.tx_"),
                                    ReadFile(kSamples + "wine_testfile.tx_")};
  for (const auto& plain : {Text(30'000), Noise(9'000, 5), std::string(5'000, ' ')})
    files.push_back(CompressSzdd(plain));
  std::vector<std::string> inputs;
  for (const auto& file : files) {
    inputs.push_back(file);
    for (std::size_t cut = 14; cut < file.size(); cut += 1 + file.size() / 37)
      inputs.push_back(file.substr(0, cut));
    inputs.push_back(WithLengthField(file, 7));
    inputs.push_back(WithLengthField(file, 1'000'000));
  }
  for (unsigned seed = 1; seed <= 20; ++seed)
    inputs.push_back(WithLengthField(CompressSzdd("") + Noise(50 * seed, seed), 200 * seed));
  return inputs;
}

#ifdef _WIN32
TEST_F(Lz, WindowsExpansionAgreesWithTheDecoderOnWholeCutAndNoisyData) {
  int n = 0;
  for (const auto& input : WholeCutAndNoisyInputs()) {
    SCOPED_TRACE(std::to_string(input.size()) + " bytes");
    std::int32_t error = 0, decoder_error = 0;
    const auto image = ExpandedImage(Put("in" + std::to_string(n++) + ".da_", input), error);
    const std::string decoded = ExpandSzdd(input, decoder_error);
    EXPECT_EQ(error, decoder_error);
    if (image) {
      EXPECT_EQ(*image, decoded);
    }
  }
}
#else
TEST(ExpandSzdd, AgreesWithLibmspackOnWholeCutAndNoisyData) {
  for (const auto& input : WholeCutAndNoisyInputs()) {
    SCOPED_TRACE(std::to_string(input.size()) + " bytes");
    const auto length = static_cast<std::uint32_t>(DecodeInt32(input, 10));
    const auto reference = testing::ExpandWithLibmspack(input, length);
    ASSERT_TRUE(reference.has_value());
    std::int32_t error = 0;
    const std::string ours = ExpandSzdd(input, error);
    if (reference->size() == length)
      EXPECT_EQ(std::pair(error, ours), std::pair(0, *reference));
    else  // data that ends before its length is damaged, for both
      EXPECT_EQ(error, LZERROR_READ);
  }
}
#endif

TEST(CompressSzdd, RoundTripsThroughTheExpander) {
  const std::string block = Noise(4097, 7);
  std::vector<std::string> inputs = {"",
                                     "x",
                                     std::string(100'000, 'a'),
                                     std::string(10'000, ' '),
                                     Text(200'000),
                                     Noise(100'000, 2),
                                     block.substr(0, 4096) + block.substr(0, 4096),
                                     block + block};
  for (const std::size_t n : {17U, 18U, 4079U, 4080U, 4095U, 4096U, 4097U, 4096U + 18U, 8193U}) {
    inputs.push_back(Text(n));
    inputs.push_back(std::string(n / 2, ' ') + Noise(n - n / 2, 3));
  }
  for (const auto& input : inputs)
    EXPECT_EQ(Expand(CompressSzdd(input)), input) << input.size() << " bytes";
}

TEST(CompressSzdd, FindsMatchesInTheBlankWindowInOverlapsAndAtFullDistance) {
  // The magic, mode 'A' (\x41), the name's missing 'o' and a length of 0.
  EXPECT_EQ(CompressSzdd("", 'o'), std::string("SZDD\x88\xF0\x27\x33\x41o\0\0\0\0", 14));
  EXPECT_EQ(CompressSzdd(std::string(18, ' ')).size(), 14U + 1 + 2);
  // One literal, then sixteen copies of 18 that overlap their source.
  EXPECT_EQ(CompressSzdd(std::string(1 + 18 * 16, 'z')).size(), 14U + 3 + 1 + 16 * 2);
  const std::string block = Noise(4096, 11);
  EXPECT_LT(CompressSzdd(block + block).size(), CompressSzdd(block).size() + 4096 / 4);
  EXPECT_LT(CompressSzdd(Text(100'000)).size(), 100'000U / 2);
  EXPECT_LE(CompressSzdd(Noise(80'000, 6)).size(), 14U + 80'000 + 80'000 / 8);
}

TEST(CompressSzdd, ProducesTheSameItemsAsTheReferenceCompressors) {
  EXPECT_EQ(CompressSzdd(ReadFile(kSamples + "mscompress_test.txt")),
            ReadFile(kSamples + "mscompress_test.tx_"));
  // COMPRESS wrote a wrong length field (bytes 10 to 13); the rest agrees.
  const std::string ours = CompressSzdd(ReadFile(kSamples + "wine_testfile.txt"), 't');
  const std::string theirs = ReadFile(kSamples + "wine_testfile.tx_");
  EXPECT_EQ(ours.substr(0, 10), theirs.substr(0, 10));
  EXPECT_EQ(ours.substr(14), theirs.substr(14));
}

TEST(LzSamples, LyingLengthFieldIsReadAsWindowsReadsIt) {
  // That COMPRESS file's field says 5237; its data holds the 20 bytes of text.
  const std::string path = kSamples + "wine_testfile.tx_";
  const std::string text = ReadFile(kSamples + "wine_testfile.txt");
  ASSERT_EQ(text.size(), 20U);
  const LzFile file(path);
  const std::int32_t h = file.get();
  ASSERT_GE(h, 0);
  char b[64] = {};
  EXPECT_EQ((Results{LZSeek(h, 0, kLzSeekEnd), LZSeek(h, 0, kLzSeekSet), LZRead(h, b, 21),
                     LZRead(h, b, 20)}),
            (Results{5237, 0, LZERROR_READ, 20}));
  EXPECT_EQ(std::string(b, 20), text);
  // Seeking is free, reading there is not; the end it announces is an end.
  EXPECT_EQ((Results{LZRead(h, b, 1), LZRead(h, b, 0), LZSeek(h, 100, kLzSeekSet), LZRead(h, b, 1),
                     LZRead(h, b, 0), LZSeek(h, 0, kLzSeekEnd), LZRead(h, b, 1)}),
            (Results{LZERROR_READ, 0, 100, LZERROR_READ, 0, 5237, 0}));
  // Whole-image readers never see a shorter file.
  Expand(ReadFile(path), LZERROR_READ);
  std::int32_t expanded = 0, existing = 0;
  EXPECT_EQ(ExpandedImage(path, expanded), nullptr);
  EXPECT_EQ(ExistingImage(path, existing), nullptr);
  EXPECT_EQ(std::pair(expanded, existing), std::pair(LZERROR_READ, LZERROR_READ));
}

TEST_F(Lz, FilesCompressedByMscompressExpand) {
#ifdef _WIN32
  GTEST_SKIP() << "mscompress is a Linux program; Windows' own expansion is held to the decoder "
                  "by WindowsExpansionAgreesWithTheDecoderOnWholeCutAndNoisyData";
#endif
  if (!fs::exists("/usr/bin/mscompress")) GTEST_SKIP() << "mscompress is not installed";
  // mscompress turns inputs of 1 to 16 bytes into NULs, so none is used.
  const std::string inputs[] = {"",           Text(17),         Text(4096 + 18),
                                Text(60'000), Noise(20'000, 4), std::string(5000, ' ') + "end"};
  for (std::size_t i = 0; i < std::size(inputs); ++i) {
    const std::string name = "in" + std::to_string(i) + ".txt";
    const std::string command =
        "/usr/bin/mscompress '" + dir_.Write(name, inputs[i]).string() + "'";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    EXPECT_EQ(ReadThroughHandle(dir_.str() + "\\" + name + "_"), inputs[i]) << name;
  }
}

TEST(LzLengthField, CutsLongerDataAndLongerFieldsAreDamage) {
  const std::string text = Text(1000);
  const std::string szdd = CompressSzdd(text);
  EXPECT_EQ(Expand(WithLengthField(szdd, 5)), text.substr(0, 5));
  Expand(WithLengthField(szdd, 1001), LZERROR_READ);
  Expand(WithLengthField(szdd, static_cast<std::uint32_t>(100 * szdd.size() + 64 * 1024)),
         LZERROR_READ);
  const std::string noise = Noise(700'000, 3);  // big enough for the ratio
  EXPECT_EQ(Expand(CompressSzdd(noise)), noise);
}

TEST_F(Lz, TruncatedFilesAreDamageThatHandlesReadUpTo) {
  const std::string text = Text(3000);
  const std::string szdd = CompressSzdd(text);
  for (std::size_t cut = 0; cut < szdd.size(); ++cut) {
    std::int32_t error = 1;
    const std::string out = ExpandSzdd(std::string_view(szdd).substr(0, cut), error);
    // Without the whole magic the bytes are plain.
    const auto want = cut < 8 ? std::pair(0, szdd.substr(0, cut)) : std::pair(LZERROR_READ, "");
    EXPECT_EQ(std::pair(error, out), want) << cut;
  }
  const LzFile file(Put("cut.tx_", szdd.substr(0, szdd.size() / 2)));
  ASSERT_EQ((Results{LZSeek(file.get(), 0, kLzSeekEnd), LZSeek(file.get(), 0, kLzSeekSet)}),
            (Results{3000, 0}));
  std::int32_t last = 0;
  const std::string read = ReadAll(file.get(), &last);
  EXPECT_EQ(last, LZERROR_READ);
  EXPECT_GT(read.size(), 0U);
  EXPECT_LT(read.size(), text.size());
  EXPECT_EQ(read, text.substr(0, read.size()));
}

TEST_F(Lz, ForeignMagicIsPlainAndOtherModesAreRefused) {
  const std::string qbasic("SZ \x88\xF0\x27\x33\xD1\x05\0\0\0", 12);
  EXPECT_EQ(Expand(qbasic), qbasic);
  std::string szdd = CompressSzdd("text");
  szdd[8] = 'B';
  Expand(szdd, LZERROR_UNKNOWNALG);
  EXPECT_EQ(LZOpenFile(Put("b.tx_", szdd)), LZERROR_UNKNOWNALG);
}

TEST_F(Lz, PlainFilesAreReadAsTheyStand) {
  const std::string bytes("Name;Land\r\n\0\xFF\x88", 14);
  Put("User.dao", bytes);
  EXPECT_EQ(ReadThroughHandle(dir_.str() + "\\USER.DAO"), bytes);
  EXPECT_EQ(ReadThroughHandle(Put("empty.dao", "")), "");
  fs::create_directory(dir_.path() / "sub");
  // A NUL would cut the path short on its way to the system.
  for (const std::string& bad :
       {std::string("none.dat"), std::string("User.dao\0X", 10), std::string("sub")})
    EXPECT_EQ(LZOpenFile(dir_.str() + "\\" + bad), LZERROR_BADINHANDLE) << bad;
}

// The atlas's own files are always compressed, by the component: a plain
// one, or one whose data goes on past its length field (made smaller), was
// damaged, though the classic service reads both. A FIFO is never opened.
TEST_F(Lz, AtlasFilesAreCompressedWholeOrDamage) {
  const std::string text = Text(1000);
  std::int32_t error = 0;
  for (const auto& [file, packed_error] :
       {std::pair(Put("whole.dao", CompressSzdd(text)), 0),
        std::pair(Put("plain.dao", text), LZERROR_READ),
        std::pair(Put("smaller.dao", WithLengthField(CompressSzdd(text), 500)), LZERROR_READ)}) {
    EXPECT_NE(ExistingImage(file, error), nullptr) << file;  // as the classic service reads it
    EXPECT_EQ(error, 0);
    EXPECT_EQ(ExistingImage(file, error, Packing::kSzdd) == nullptr, packed_error != 0) << file;
    EXPECT_EQ(error, packed_error) << file;
  }
#ifndef _WIN32
  ASSERT_EQ(::mkfifo((dir_.path() / "fifo.dao").c_str(), 0600), 0);
  EXPECT_EQ(ExistingImage(dir_.str() + "\\fifo.dao", error), nullptr);
  EXPECT_EQ(error, LZERROR_BADINHANDLE);  // there, but no file: not "missing"
#endif
}

TEST_F(Lz, SeekMovesWithinTheImageOrFailsInPlace) {
  const LzFile file(Put("t.tx_", CompressSzdd("0123456789")));
  const std::int32_t h = file.get();
  char c = 0;
  EXPECT_EQ((Results{LZSeek(h, 4, kLzSeekSet), LZRead(h, &c, 1), c}), (Results{4, 1, '4'}));
  const std::int32_t bad = LZERROR_BADVALUE;
  EXPECT_EQ((Results{LZSeek(h, 2, kLzSeekCurrent), LZSeek(h, -1, kLzSeekEnd),
                     LZSeek(h, 0, kLzSeekEnd), LZSeek(h, 3, kLzSeekSet), LZSeek(h, -1, kLzSeekSet),
                     LZSeek(h, 8, kLzSeekCurrent), LZSeek(h, 2147483647, kLzSeekCurrent),
                     LZSeek(h, 1, kLzSeekEnd), LZSeek(h, 0, 3), LZSeek(h, 0, kLzSeekCurrent)}),
            (Results{7, 9, 10, 3, bad, bad, bad, bad, bad, 3}));
}

TEST_F(Lz, ReadCopiesUpToTheEndAndChecksItsArguments) {
  const std::int32_t h = LZOpenFile(Put("t.txt", "0123456789"));
  char b[32] = {};
  EXPECT_EQ((Results{LZRead(h, b, 4), LZRead(h, b, 0), LZRead(h, b, -1), LZRead(h, nullptr, 1),
                     LZRead(h, b, 32)}),
            (Results{4, 0, LZERROR_BADVALUE, LZERROR_BADVALUE, 6}));
  EXPECT_EQ(std::string(b, 6), "456789");
  EXPECT_EQ(LZRead(h, b, 32), 0);
  LZClose(h);
  for (const std::int32_t bad : {h, -1, 5000}) {
    EXPECT_EQ((Results{LZRead(bad, b, -1), LZSeek(bad, 0, kLzSeekSet)}),
              (Results{LZERROR_BADINHANDLE, LZERROR_BADINHANDLE}))
        << bad;
    LZClose(bad);
  }
}

TEST_F(Lz, HandlesHaveOwnPositionsAndKeepTheBytesTheyOpened) {
  const std::string path = Put("t.txt", "old contents");
  const std::int32_t a = LZOpenFile(path);
  const LzFile b(path);
  ASSERT_GE(a, 0);
  ASSERT_NE(a, b.get());
  EXPECT_EQ(LZSeek(a, 4, kLzSeekSet), 4);
  Put("t.txt", "new");
  EXPECT_EQ(ReadAll(b.get()), "old contents");
  LZClose(a);
  const LzFile c(path);
  EXPECT_EQ(c.get(), a);  // the freed number again
  EXPECT_EQ(ReadAll(c.get()), "new");
}

TEST_F(Lz, ThreadsUseTheirOwnHandles) {
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < 6; ++t) {
    const std::string path = Put("f" + std::to_string(t) + ".tx_", CompressSzdd(Text(500 * t)));
    threads.emplace_back([&failures, path, t] {
      for (int round = 0; round < 100; ++round) {
        if (ReadThroughHandle(path) != Text(500 * t)) ++failures;
        if (round % 10 == 0) ClearExpandedImages();
      }
    });
  }
  for (auto& thread : threads)
    thread.join();
  EXPECT_EQ(failures.load(), 0);
}

TEST_F(Lz, SettledImagesAreKeptUntilForgottenOrCleared) {
  const fs::path file = dir_.path() / "d.da_";
  const std::string path = Put("d.da_", CompressSzdd("version 1"));
  fs::last_write_time(file, LongAgo());
  const auto first = Image(path);
  EXPECT_EQ(*first, "version 1");
  // Same size, time and inode: only the component itself knows it wrote.
  const auto time = fs::last_write_time(file);
  Put("d.da_", CompressSzdd("version 2"));
  fs::last_write_time(file, time);
  EXPECT_EQ(Image(dir_.str() + "\\D.DA_"), first);
  ForgetExpandedImage(dir_.str() + "\\D.DA_");
  EXPECT_EQ(*Image(path), "version 2");
  Put("d.da_", CompressSzdd("version 3"));
  fs::last_write_time(file, time);
  ClearExpandedImages();
  EXPECT_EQ(*Image(path), "version 3");
}

TEST_F(Lz, RewriteInTheSameTimeTickWithTheSameSizeIsSeen) {
  // As on a file system with whole-second times.
  const auto tick = std::chrono::floor<std::chrono::seconds>(fs::file_time_type::clock::now());
  const std::string path = Put("d.da_", CompressSzdd("first version"));
  fs::last_write_time(dir_.path() / "d.da_", tick);
  EXPECT_EQ(*Image(path), "first version");
  Put("d.da_", CompressSzdd("other version"));
  fs::last_write_time(dir_.path() / "d.da_", tick);
  EXPECT_EQ(*Image(path), "other version");
  EXPECT_EQ(ReadThroughHandle(path), "other version");
}

TEST_F(Lz, FileReplacedByRenameIsSeen) {
  if (testing::RunningUnderWine()) {
    GTEST_SKIP() << "Wine gives no creation time, by which Windows tells a file renamed over "
                    "another with the same size and time";
  }
  const std::string path = Put("d.dao", "first version");
  fs::last_write_time(dir_.path() / "d.dao", LongAgo());
  EXPECT_EQ(*Image(path), "first version");
  const fs::path replacement = dir_.Write("d.tmp", "other version");
  fs::last_write_time(replacement, fs::last_write_time(dir_.path() / "d.dao"));
  fs::rename(replacement, dir_.path() / "d.dao");
  EXPECT_EQ(*Image(path), "other version");
}

TEST_F(Lz, FileCreatedWhereItWasMissingIsSeen) {
#ifdef _WIN32
  GTEST_SKIP() << "the C runtime cannot set a folder's time on Windows; there a missing file is "
                  "looked for anew on every call";
#endif
  dir_.Write("Atlas/D.dao", "places");
  fs::last_write_time(dir_.path() / "Atlas", LongAgo());
  const std::string user_file = dir_.str() + "\\Atlas\\USER\\D.dao";
  std::int32_t error = 1;
  EXPECT_EQ(ExistingImage(user_file, error), nullptr);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(ExistingImage(user_file, error), nullptr);  // known to be missing now
  dir_.Write("Atlas/USER/D.dao", "user places");
  const auto image = ExistingImage(user_file, error);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(*image, "user places");
}

TEST_F(Lz, LeastRecentlyUsedImagesGoFirst) {
  std::vector<std::string> paths;
  std::vector<std::shared_ptr<const std::string>> images;
  const std::size_t most = kMaxCachedImages;
  for (std::size_t i = 0; i <= most; ++i) {
    const std::string name = "f" + std::to_string(i);
    paths.push_back(Put(name, name));
    fs::last_write_time(dir_.path() / name, LongAgo());
    if (i < most) images.push_back(Image(paths.back()));
  }
  EXPECT_EQ(Image(paths[0]), images[0]);  // now the most recent
  Image(paths[most]);                     // one too many: f1 goes
  EXPECT_EQ(Image(paths[0]), images[0]);
  EXPECT_EQ(Image(paths[2]), images[2]);
  EXPECT_NE(Image(paths[1]), images[1]);
}

}  // namespace
}  // namespace tarv
