# SPDX-License-Identifier: GPL-3.0-or-later
"""A film whose pictures show their number and their edges in marks that survive scaling, and their reader."""

RATE = 30
BITS = 12
# Two rows of cells, one for each bit, from the highest to the lowest. Shares of the picture; the rows are
# clear of the title bar and of the controls' panel in windows of at least 450 by 250 pixels.
CELLS_LEFT, CELL_WIDTH, CELL_HEIGHT = 0.32, 0.03, 0.06
ROWS = (0.2, 0.42)
# A border of magenta around the picture; no other part of the screen has this colour.
BORDER = 0.02


def recipe(size, seconds):
    """ffmpeg's filter graph. Moving detail and grain give decoders realistic work."""
    width, height = map(int, size.split("x"))
    even = lambda value: round(value / 2) * 2
    boxes = []
    for row in ROWS:
        y, cell_height = even(row * height), even(CELL_HEIGHT * height)
        for bit in range(BITS):
            left = even((CELLS_LEFT + bit * CELL_WIDTH) * width)
            right = even((CELLS_LEFT + (bit + 1) * CELL_WIDTH) * width)
            box = f"x={left}:y={y}:w={right - left}:h={cell_height}:t=fill"
            boxes.append(f"drawbox=c=black:{box}")
            boxes.append(f"drawbox=c=white:{box}:"
                         f"enable='gt(mod(floor(n/{2 ** (BITS - 1 - bit)})\\,2)\\,0)'")
    borders = "".join(f",drawbox=c=magenta:t=fill:{box}" for box in (
        f"x=0:y=0:w=iw:h={even(BORDER * width)}", f"x=0:y=ih-{even(BORDER * width)}:w=iw:h=ih",
        f"x=0:y=0:w={even(BORDER * width)}:h=ih", f"x=iw-{even(BORDER * width)}:y=0:w=iw:h=ih"))
    return (f"testsrc2=s={size}:r={RATE}:d={seconds},noise=alls=12:allf=t,"
            f"{','.join(boxes)}{borders}")


def is_magenta(pixels, at):
    """Also in the shade of the title bar."""
    blue, green, red = pixels[at], pixels[at + 1], pixels[at + 2]
    return blue > 85 and red > 85 and abs(blue - red) < 50 and 3 * green < blue


def border_ends(pixels):
    """The first and the last magenta pixel of a line through the picture; None without any."""
    count = len(pixels) // 4
    first = next((i for i in range(count) if is_magenta(pixels, 4 * i)), None)
    if first is None:
        return None
    return first, next(i for i in range(count - 1, -1, -1) if is_magenta(pixels, 4 * i))


class Reader:
    """Reads the marks of the picture that fills a rectangle of the screen."""

    def __init__(self, screen, rectangle):
        self.screen = screen
        self.x, self.y, self.width, self.height = rectangle

    def number(self, row=0):
        """The number of the picture that is shown; None where its cells are not."""
        left = self.x + CELLS_LEFT * self.width
        cell = CELL_WIDTH * self.width
        y = round(self.y + (ROWS[row] + CELL_HEIGHT / 2) * self.height)
        pixels = self.screen.pixels(round(left), y, round(BITS * cell), 1)
        value = 0
        for bit in range(BITS):
            at = 4 * round((bit + 0.5) * cell)
            if at + 3 > len(pixels):
                return None
            green = pixels[at + 1]
            if 90 < green < 165 or abs(pixels[at] - green) > 60:
                return None
            value = value * 2 + (green >= 165)
        return value


def is_on(screen, width, height):
    """Whether a picture is on the screen, wherever its window is: a line crosses its border."""
    for y in range(height // 8, height, height // 8):
        pixels = screen.pixels(0, y, width, 1)
        if any(is_magenta(pixels, at) for at in range(0, len(pixels) - 3, 16)):
            return True
    return False
