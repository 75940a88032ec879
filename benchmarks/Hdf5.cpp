// HDF5 on the same elements: a data set of a compound type, in files that exist in memory only.
// SPDX-License-Identifier: Apache-2.0
#include <hdf5.h>
#include <hdf5_hl.h>

#include <algorithm>
#include <utility>

#include "Peers.h"

namespace orbo::Benchmarks {

namespace {

constexpr const char* kName = "elements";

// Closes what it holds.
class Id {
  public:
    Id(hid_t id, herr_t (*close)(hid_t)) : fId(id), fClose(close) { require(id >= 0, "HDF5"); }
    Id(Id&& other) noexcept
        : fId(std::exchange(other.fId, H5I_INVALID_HID)), fClose(other.fClose) {}
    Id& operator=(Id&&) = delete;
    ~Id() {
        if (fId >= 0) fClose(fId);
    }
    operator hid_t() const { return fId; }  // passed to every function of the library

  private:
    hid_t fId;
    herr_t (*fClose)(hid_t);
};

struct Row {
    std::uint32_t index;
    std::int32_t id;
    float position[3];
    const char* name;
};

Id makeType() {
    const hsize_t three = 3;
    const Id position(H5Tarray_create2(H5T_NATIVE_FLOAT, 1, &three), H5Tclose);
    const Id name(H5Tcopy(H5T_C_S1), H5Tclose);
    Id row(H5Tcreate(H5T_COMPOUND, sizeof(Row)), H5Tclose);
    require(H5Tset_size(name, H5T_VARIABLE) >= 0 &&
                H5Tinsert(row, "index", offsetof(Row, index), H5T_NATIVE_UINT32) >= 0 &&
                H5Tinsert(row, "id", offsetof(Row, id), H5T_NATIVE_INT32) >= 0 &&
                H5Tinsert(row, "position", offsetof(Row, position), position) >= 0 &&
                H5Tinsert(row, "name", offsetof(Row, name), name) >= 0,
            "HDF5 makes its type");
    return row;
}

// One for all rounds; rows and image have their room already.
class Table {
  public:
    explicit Table(const Elements& elements) : fElements(elements), fRows(elements.size()) {}

    std::size_t write() {
        const Id file = makeFile();
        hsize_t size = 0;
        require(H5Fget_filesize(file, &size) >= 0, "HDF5 says its size");
        return size;
    }
    void keepImage() {
        const Id file = makeFile();
        fImage.resize(static_cast<std::size_t>(H5Fget_file_image(file, nullptr, 0)));
        require(H5Fget_file_image(file, fImage.data(), fImage.size()) > 0, "HDF5 gives its image");
    }
    Elements read() {
        const Id type = makeType();
        const Id file(H5LTopen_file_image(fImage.data(), fImage.size(),
                                          H5LT_FILE_IMAGE_DONT_COPY | H5LT_FILE_IMAGE_DONT_RELEASE),
                      H5Fclose);
        const Id data(H5Dopen2(file, kName, H5P_DEFAULT), H5Dclose);
        const Id space(H5Dget_space(data), H5Sclose);
        fRows.resize(static_cast<std::size_t>(H5Sget_simple_extent_npoints(space)));
        require(H5Dread(data, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, fRows.data()) >= 0,
                "HDF5 reads");
        Elements elements;
        for (const Row& row : fRows) {
            const float* at = row.position;
            append(elements, row.index, {row.id, {at[0], at[1], at[2]}, row.name});
        }
        require(H5Dvlen_reclaim(type, space, H5P_DEFAULT, fRows.data()) >= 0, "HDF5 frees names");
        return elements;
    }

  private:
    Id makeFile() {
        const Id access(H5Pcreate(H5P_FILE_ACCESS), H5Pclose);
        require(H5Pset_fapl_core(access, kMiB, 0) >= 0, "HDF5 keeps to memory");
        Id file(H5Fcreate(kName, H5F_ACC_TRUNC, H5P_DEFAULT, access), H5Fclose);
        std::transform(fElements.begin(), fElements.end(), fRows.begin(), [](const auto& entry) {
            const Element& e = *entry.second;
            const float* at = e.position;
            return Row{entry.first, e.id, {at[0], at[1], at[2]}, e.name.c_str()};
        });
        const Id type = makeType();
        const hsize_t size = fRows.size();
        const Id space(H5Screate_simple(1, &size, nullptr), H5Sclose);
        const Id data(H5Dcreate2(file, kName, type, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT),
                      H5Dclose);
        require(H5Dwrite(data, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, fRows.data()) >= 0 &&
                    H5Fflush(file, H5F_SCOPE_GLOBAL) >= 0,
                "HDF5 writes");
        return file;
    }

    const Elements& fElements;
    std::vector<Row> fRows;
    std::vector<char> fImage;
};

}  // namespace

Peer hdf5(const Elements& elements) {
    const auto table = std::make_shared<Table>(elements);
    table->keepImage();
    return {"HDF5", false, [table] { return table->read(); }, [table] { return table->write(); }};
}

}  // namespace orbo::Benchmarks
