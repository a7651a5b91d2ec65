# SPDX-License-Identifier: GPL-3.0-or-later
# What a script with Pillow and piexif does: a text on a box, the EXIF segment put back.
# pillow.py PROCESSES QUALITY PHOTOS OUTPUT
import sys
from multiprocessing import Pool
from pathlib import Path

import piexif
from PIL import Image, ImageDraw, ImageFont


def stamp(job):
    source, target, quality = job
    image = Image.open(source)
    tags = piexif.load(image.info["exif"])
    draw = ImageDraw.Draw(image, "RGBA")
    width, height = image.size
    draw.rectangle((width - 1500, height - 700, width - 15, height - 20), fill=(211, 211, 211, 128), outline="white")
    font = ImageFont.truetype("/usr/share/fonts/truetype/noto/NotoSans-Regular.ttf", 120)
    draw.multiline_text((width - 1475, height - 690), "14/03/2026 09:12:05\nUTM 19G 377696 6308340", fill="white", font=font)
    image.save(target, quality=quality, exif=piexif.dump(tags))


if __name__ == "__main__":
    processes, quality, photos, output = int(sys.argv[1]), int(sys.argv[2]), Path(sys.argv[3]), Path(sys.argv[4])
    with Pool(processes) as pool:
        pool.map(stamp, [(photo, output / photo.name, quality) for photo in sorted(photos.glob("*.JPG"))], chunksize=1)
