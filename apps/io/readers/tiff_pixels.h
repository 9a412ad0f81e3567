// The pixels of a TIFF page: its strips and tiles, decoded and put in their place.
#pragma once

#include <cstdint>

#include "apps/io/readers/tiff_page.h"

namespace pzel_io {

/// An open file, as the library has it and as bytes.
struct TiffFile {
    explicit TiffFile(const std::filesystem::path& path);
    ~TiffFile();
    TiffFile(const TiffFile&) = delete;
    TiffFile& operator=(const TiffFile&) = delete;
    bool IsOpen() const { return tiff && descriptor >= 0; }

    TIFF* tiff;
    int descriptor;
    std::uint64_t bytes;
};

/// What is done about samples that are not there or cannot be decoded.
enum class TiffDamage { Throw, LeaveBlack };

/// Reads rows of the page that the library has at hand.
class TiffPixels {
  public:
    /// `shift` is added to where the page says its bytes are, for pages that stand for several pictures.
    TiffPixels(const TiffFile& of, const TiffPage& described, std::uint64_t shift, TiffDamage damage);

    /// Where the bytes of the page end in the file. 0 where it does not tell of all of them.
    std::uint64_t End() const;
    /// Whether strips that are not compressed follow one another without gaps.
    bool IsOneBlock() const;
    /// Bytes of all samples, where they are not compressed.
    std::uint64_t RawBytes() const;

    /// Reads rows into their places in a frame of what the page is shown as.
    /// @throws std::runtime_error with the reason where damage is not allowed
    void Read(const Rows& rows, std::span<unsigned char> frame);
    /// What is missing of the rows that were read; empty where nothing is.
    const std::string& Missing() const { return missing; }

  private:
    struct Chunk;
    void ReadStored(const Rows& rows, unsigned char* stored);
    void ReadByLibrary(const Rows& rows, unsigned char* frame);
    void ReadChunk(const Chunk& chunk, const Rows& rows, unsigned char* stored);
    void Place(const Chunk& chunk, const Rows& rows, const unsigned char* decoded,
               unsigned char* stored) const;
    void Decode(const Chunk& chunk, const Rows& rows, unsigned char* to);
    int DecodeRaw(const Chunk& chunk, const Rows& rows, unsigned char* to);
    int DecodeCompressed(const Chunk& chunk, int count, unsigned char* to);
    bool DecodesTo(const Chunk& chunk, int count, unsigned char* to);
    std::size_t ReadBytes(std::uint64_t from, std::size_t count, unsigned char* to) const;
    void Arrange(unsigned char* bytes, std::size_t count) const;
    bool IsDirect() const;
    void Miss(const std::string& reason);

    const TiffFile& file;
    const TiffPage& page;
    const TiffLayout& layout;
    std::uint64_t offset;
    TiffDamage onDamage;
    std::size_t rowBytes;               // of a decoded chunk
    std::vector<unsigned char> packed;  // a chunk as the file holds it
    std::string missing;
};

}  // namespace pzel_io
