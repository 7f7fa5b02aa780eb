// Owned storage: buffer<T> (sized once), vec<T> (growing) and text (a string), all taken from a sysenv. numbered<T, N>
// lies in its record, array_view<T> looks.
//
// They release in the destructor and never throw there. Only plain records are stored, so that growing is a copy of
// bytes. Debug builds fill new storage with signalling NaN bytes; release builds leave it unset.
#pragma once

#include "cpub/sysenv.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

namespace tvn {

// Bytes of n elements, throwing out_of_memory when the product does not fit.
inline size_t checked_bytes(int64_t n, size_t size) {
  size_t total = 0;
  if (n < 0 || __builtin_mul_overflow(static_cast<size_t>(n), size, &total)) throw out_of_memory{};
  return total;
}

// An index out of range ends the program where it happens, from check level 2 on.
inline void check_index([[maybe_unused]] int64_t k, [[maybe_unused]] int64_t n) noexcept {
#if TVN_CHECK_LEVEL >= 2
  if (k < 0 || k >= n) __builtin_trap();
#endif
}

// An array of the record that holds it, by signed numbers that are checked in the same way: codes, slots, items.
template <class T, size_t N> struct numbered : std::array<T, N> {
  T& operator[](int64_t k) noexcept {
    check_index(k, static_cast<int64_t>(N));
    return std::array<T, N>::operator[](static_cast<size_t>(k));
  }
  const T& operator[](int64_t k) const noexcept {
    check_index(k, static_cast<int64_t>(N));
    return std::array<T, N>::operator[](static_cast<size_t>(k));
  }
};

// A look at elements that lie in a row, with signed indices that are checked as those of a buffer.
template <class T> struct array_view {
  array_view() = default;
  array_view(T* first, int64_t n) noexcept : ptr_(first), len_(n) {}
  template <class C>
  requires(!std::is_same_v<std::remove_cvref_t<C>, array_view> &&
           std::is_convertible_v<decltype(std::declval<C&>().data()), T*>) array_view(C&& c)
  noexcept : ptr_(c.data()), len_(static_cast<int64_t>(c.size())) {}

  T* data() const noexcept { return ptr_; }
  int64_t size() const noexcept { return len_; }
  bool empty() const noexcept { return len_ == 0; }
  T* begin() const noexcept { return ptr_; }
  T* end() const noexcept { return ptr_ + len_; }
  T& operator[](int64_t k) const noexcept {
    check_index(k, len_);
    return ptr_[k];
  }
  array_view first(int64_t n) const noexcept { return {ptr_, n}; }
  array_view subspan(int64_t from) const noexcept { return {ptr_ + from, len_ - from}; }
  array_view subspan(int64_t from, int64_t n) const noexcept { return {ptr_ + from, n}; }

private:
  T* ptr_ = nullptr;
  int64_t len_ = 0;
};

// Fixed number of elements, set at construction or by reset().
template <class T> struct buffer {
  static_assert(std::is_trivially_copyable_v<T>);

  buffer() = default;
  buffer(sysenv& sys, int64_t n) { reset(sys, n); }
  buffer(sysenv& sys, int64_t n, const T& value) { reset(sys, n, value); }
  buffer(buffer&& o) noexcept { swap(o); }
  buffer& operator=(buffer&& o) noexcept {
    swap(o);
    return *this;
  }
  buffer(const buffer&) = delete;
  buffer& operator=(const buffer&) = delete;
  ~buffer() { clear(); }

  // New storage of n unset elements; the old contents go. On failure the old contents stand.
  void reset(sysenv& sys, int64_t n) {
    buffer fresh;
    fresh.sys_ = &sys;
    fresh.ptr_ = static_cast<T*>(sys.alloc(checked_bytes(n, sizeof(T)), "src/cpub/buffer", __LINE__));
    fresh.len_ = n;
#ifndef NDEBUG
    if (n > 0) std::memset(static_cast<void*>(fresh.ptr_), 0xF7, static_cast<size_t>(n) * sizeof(T));
#endif
    swap(fresh);
  }
  void reset(sysenv& sys, int64_t n, const T& value) {
    reset(sys, n);
    std::fill_n(ptr_, n, value);
  }
  void clear() noexcept {
    if (ptr_) sys_->release(ptr_, "src/cpub/buffer", __LINE__);
    ptr_ = nullptr;
    len_ = 0;
  }
  void swap(buffer& o) noexcept {
    std::swap(sys_, o.sys_);
    std::swap(ptr_, o.ptr_);
    std::swap(len_, o.len_);
  }

  T* data() noexcept { return ptr_; }
  const T* data() const noexcept { return ptr_; }
  int64_t size() const noexcept { return len_; }
  bool empty() const noexcept { return len_ == 0; }
  T* begin() noexcept { return ptr_; }
  T* end() noexcept { return ptr_ + len_; }
  const T* begin() const noexcept { return ptr_; }
  const T* end() const noexcept { return ptr_ + len_; }
  T& operator[](int64_t k) noexcept {
    check_index(k, len_);
    return ptr_[k];
  }
  const T& operator[](int64_t k) const noexcept {
    check_index(k, len_);
    return ptr_[k];
  }
  operator std::span<T>() noexcept { return {ptr_, static_cast<size_t>(len_)}; }
  operator std::span<const T>() const noexcept { return {ptr_, static_cast<size_t>(len_)}; }

private:
  sysenv* sys_ = nullptr;
  T* ptr_ = nullptr;
  int64_t len_ = 0;
};

// Growing array. Capacity at least doubles when it grows, so push_back is constant time on average.
template <class T> struct vec {
  vec() = default;
  explicit vec(sysenv& sys) : sys_(&sys) {}
  vec(vec&&) noexcept = default;
  vec& operator=(vec&&) noexcept = default;

  void attach(sysenv& sys) noexcept { sys_ = &sys; } // for members that are constructed before their owner has a sysenv
  void reserve(int64_t cap) {
    if (cap <= store_.size()) return;
    buffer<T> fresh(*sys_, cap);
    if (len_ > 0) std::memcpy(static_cast<void*>(fresh.data()), store_.data(), static_cast<size_t>(len_) * sizeof(T));
    store_.swap(fresh);
  }
  // New elements are unset.
  void resize(int64_t n) {
    if (n > store_.size()) reserve(std::max(n, 2 * store_.size()));
    len_ = n;
  }
  void resize(int64_t n, const T& value) {
    const int64_t old = len_;
    resize(n);
    for (int64_t k = old; k < n; k++) store_[k] = value;
  }
  void push_back(const T& value) {
    const T copy = value; // value may lie inside
    resize(len_ + 1);
    store_[len_ - 1] = copy;
  }
  void append(const T* from, int64_t n) {
    const int64_t old = len_;
    resize(old + n);
    if (n > 0) std::memcpy(static_cast<void*>(store_.data() + old), from, static_cast<size_t>(n) * sizeof(T));
  }
  void pop_back() noexcept { len_--; }
  void clear() noexcept { len_ = 0; } // keeps the storage
  void free() noexcept {
    store_.clear();
    len_ = 0;
  }
  void swap(vec& o) noexcept {
    std::swap(sys_, o.sys_);
    store_.swap(o.store_);
    std::swap(len_, o.len_);
  }

  T* data() noexcept { return store_.data(); }
  const T* data() const noexcept { return store_.data(); }
  int64_t size() const noexcept { return len_; }
  int64_t capacity() const noexcept { return store_.size(); }
  bool empty() const noexcept { return len_ == 0; }
  T* begin() noexcept { return data(); }
  T* end() noexcept { return data() + len_; }
  const T* begin() const noexcept { return data(); }
  const T* end() const noexcept { return data() + len_; }
  T& operator[](int64_t k) noexcept {
    check_index(k, len_);
    return store_[k];
  }
  const T& operator[](int64_t k) const noexcept {
    check_index(k, len_);
    return store_[k];
  }
  T& back() noexcept { return store_[len_ - 1]; }
  const T& back() const noexcept { return store_[len_ - 1]; }
  operator std::span<T>() noexcept { return {data(), static_cast<size_t>(len_)}; }
  operator std::span<const T>() const noexcept { return {data(), static_cast<size_t>(len_)}; }

private:
  sysenv* sys_ = nullptr;
  buffer<T> store_;
  int64_t len_ = 0;
};

// Owned NUL-terminated string; c_str() of an empty one is "".
struct text {
  text() = default;
  explicit text(sysenv& sys) : sys_(&sys) {}
  void attach(sysenv& sys) noexcept { sys_ = &sys; }
  // On failure the old value stands.
  void assign(std::string_view s) {
    vec<char> fresh(*sys_);
    const auto n = static_cast<int64_t>(s.size());
    if (n > 0) {
      fresh.resize(n + 1);
      std::memcpy(fresh.data(), s.data(), s.size());
      fresh[n] = '\0';
    }
    chars_.swap(fresh);
  }
  void free() noexcept { chars_.free(); }
  void swap(text& o) noexcept {
    std::swap(sys_, o.sys_);
    chars_.swap(o.chars_);
  }
  const char* c_str() const noexcept { return chars_.empty() ? "" : chars_.data(); }
  std::string_view view() const noexcept { return c_str(); }
  bool empty() const noexcept { return chars_.empty() || chars_[0] == '\0'; }
  int64_t size() const noexcept { return chars_.empty() ? 0 : chars_.size() - 1; }

private:
  sysenv* sys_ = nullptr;
  vec<char> chars_;
};

} // namespace tvn
