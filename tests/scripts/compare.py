"""What zembra reads against what h5py reads: equal values, equal shapes, and for
every HDF5 class the Python form that stands for it."""

import h5py
import numpy as np

from zembra import h5


# h5py drops what a fixed string is padded with; zembra keeps blanks.
PADDING = b"\0 "


def assert_same(ours, theirs, dtype, shape, follow=None):
    """`ours` as zembra gives it, `theirs` as h5py does for that dtype and extent.

    `follow(bytes, reference class)` names the object that a reference leads to.
    """
    if dtype.names is not None:
        _assert_record(ours, theirs, dtype, shape, follow)
    elif dtype.subdtype is not None:
        base, inner = dtype.subdtype
        assert_same(ours, theirs, base, shape + inner, follow)
    elif (reference := h5py.check_ref_dtype(dtype)) is not None:
        _assert_references(ours, theirs, reference, shape, follow)
    elif (text := h5py.check_string_dtype(dtype)) is not None:
        _assert_texts(ours, theirs, text, shape)
    elif (sequence := h5py.check_vlen_dtype(dtype)) is not None:
        for mine, other in zip(_items(ours, shape), _elements(theirs, shape), strict=True):
            assert_same(mine, other, np.dtype(sequence), np.shape(other), follow)
    elif dtype.kind == "V":  # opaque: the bytes of each element
        raw = np.asarray(theirs, dtype=dtype)
        assert ours.dtype == np.uint8
        assert ours.shape == shape + (dtype.itemsize,)
        assert ours.tobytes() == raw.tobytes()
    else:
        _assert_numbers(ours, theirs, dtype, shape)


def _items(ours, shape):
    """The elements of a cell: a list, an object array of the extent's shape, or the one of
    a scalar itself."""
    if shape == ():
        return [ours]
    if len(shape) < 2:
        assert isinstance(ours, list)
        return ours
    assert ours.shape == shape
    return list(ours.ravel())


def _elements(theirs, shape):
    """h5py's elements, of which each is an array itself."""
    return [theirs] if shape == () else [theirs[index] for index in np.ndindex(shape)]


def _assert_record(ours, theirs, dtype, shape, follow):
    assert list(ours) == list(dtype.names)
    for name in dtype.names:
        assert_same(ours[name], theirs[name], dtype[name], shape, follow)


def _assert_references(ours, theirs, reference, shape, follow):
    size = 8 if reference is h5py.Reference else 12
    assert ours.dtype == np.uint8
    assert ours.shape == shape + (size,)
    for raw, other in zip(
        ours.reshape(-1, size), np.ravel(np.asarray(theirs, dtype=object)), strict=True
    ):
        assert raw.any() == bool(other)
        if other:
            assert follow(raw, reference) == follow(other, reference)


def _assert_texts(ours, theirs, text, shape):
    if text.length is None:
        expected = [
            item if isinstance(item, bytes) else str(item).encode()
            for item in np.ravel(np.asarray(theirs, dtype=object))
        ]
        assert [item.encode(errors="surrogateescape") for item in _items(ours, shape)] == expected
    elif shape == ():
        mine = ours.encode(errors="surrogateescape")
        assert mine.rstrip(PADDING) == bytes(theirs).rstrip(PADDING)
    else:
        assert ours.shape == shape
        assert np.array_equal(np.char.rstrip(ours, PADDING), np.char.rstrip(theirs, PADDING))


def _assert_numbers(ours, theirs, dtype, shape):
    theirs = np.asarray(theirs)
    if isinstance(ours, float):
        assert shape == () and dtype.kind == "f"
    else:
        assert ours.shape == shape
        kind = "u" if dtype.kind == "b" else dtype.kind
        assert ours.dtype.kind == (
            "i" if h5py.check_enum_dtype(dtype) and kind == "u" and ours.dtype.kind == "i" else kind
        )
        assert ours.dtype.isnative
    assert np.array_equal(np.asarray(ours), theirs, equal_nan=dtype.kind == "f")


def h5py_read(dataset):
    """What h5py reads of a dataset."""
    return _h5py_read(
        dataset.id,
        lambda: dataset[()],
        lambda raw, datatype: dataset.id.read(h5py.h5s.ALL, h5py.h5s.ALL, raw, mtype=datatype),
    )


def h5py_read_attribute(owner, name):
    """What h5py reads of an attribute of an object."""
    attribute = owner.attrs.get_id(name)
    return _h5py_read(
        attribute,
        lambda: owner.attrs[name],
        lambda raw, datatype: attribute.read(raw, mtype=datatype),
    )


def _h5py_read(low_level, read, read_raw):
    """h5py has no conversion for tagged opaque data and bit fields: their bytes are
    read as the file has them."""
    datatype = low_level.get_type()
    if datatype.get_class() not in (h5py.h5t.OPAQUE, h5py.h5t.BITFIELD):
        return read()
    raw = np.empty(low_level.shape, dtype=f"V{datatype.get_size()}")
    read_raw(raw, datatype)
    if datatype.get_class() == h5py.h5t.OPAQUE:
        return raw
    order = ">" if datatype.get_order() == h5py.h5t.ORDER_BE else "<"
    return raw.view(f"{order}u{datatype.get_size()}")


def assert_same_or_empty(ours, theirs, dtype, shape, follow=None):
    """The same, where an extent without elements is nothing but empty."""
    if theirs is None or isinstance(theirs, h5py.Empty) or 0 in shape:
        assert np.size(ours) == 0
    else:
        assert_same(ours, theirs, dtype, shape, follow)


def follower(ours, theirs):
    """Names what references of either side lead to: `ours` is an identifier of the
    file, `theirs` h5py's file."""

    def follow(reference, kind):
        if isinstance(reference, (h5py.Reference, h5py.RegionReference)):
            return theirs[reference].name
        name = "H5R_OBJECT" if kind is h5py.Reference else "H5R_DATASET_REGION"
        target = h5.H5Rdereference(ours, name, reference)
        try:
            return h5.H5Iget_name(target)
        finally:
            h5.H5Oclose(target)

    return follow
