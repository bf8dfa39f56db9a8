"""Tables, as they are printed."""


def aligned(rows):
    """Rows of texts, the columns below one another."""
    widths = [max(map(len, column)) for column in zip(*rows)]
    return "\n".join("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip()
                     for row in rows)
