// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <deque>
#include <streambuf>
#include <string_view>
#include <vector>

namespace oru::common::fs {

/// An output stream buffer that keeps what it is given in pieces of one size, so that growing never copies.
class MemoryBuffer : public std::streambuf {
public:
    explicit MemoryBuffer(std::size_t pieceSize) : mPieceSize(pieceSize) {}

    /// Calls visit(std::string_view) for each piece in order, until it returns false; whether it never did.
    template <class Visitor>
    bool forEachPiece(Visitor visit) const {
        for (const auto& piece : mPieces) {
            const bool isLast = &piece == &mPieces.back();
            const auto length = isLast ? static_cast<std::size_t>(pptr() - pbase()) : piece.size();
            if (!visit(std::string_view(piece.data(), length))) return false;
        }
        return true;
    }

protected:
    int_type overflow(int_type character) override {
        if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
        auto& piece = mPieces.emplace_back(mPieceSize);
        setp(piece.data(), piece.data() + piece.size());
        return sputc(traits_type::to_char_type(character));
    }

private:
    std::size_t mPieceSize;
    std::deque<std::vector<char>> mPieces;
};

}  // namespace oru::common::fs
