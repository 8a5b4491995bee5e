"""Marks of the tests that some builds and systems leave out."""


def pytest_configure(config):
    config.addinivalue_line("markers", "containers: HDF5, .npz and volumes of other byte orders")
    config.addinivalue_line("markers", "signals: processes that are killed, and limits of files")
