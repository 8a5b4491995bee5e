def plot(*a, **k): pass
