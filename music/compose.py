#!/usr/bin/env python3
"""Reads song.txt (chords, patterns, song) and writes a Csound score.

usage: compose.py song.txt > beat.sco
       compose.py --sections song.txt     (one line per section: start end name)

The language of song.txt is explained at its head. Nothing here is random: the
same song gives the same score, byte for byte.
"""
import re
import sys

BPM = 60 * 8 / 4.85            # two bars of four beats last 4.85 s
BEAT = 60 / BPM
STEP = BEAT / 4
PHRASE = 32 * STEP             # two bars
FIRST = 4.25                   # the downbeat of phrase 2, in seconds

NOTE = {'C': 0, 'D': 2, 'E': 4, 'F': 5, 'G': 7, 'A': 9, 'B': 11}
QUALITY = {                    # third, fifth, seventh of the bass patterns
    'min': (3, 7, 10), 'maj': (4, 7, 11), 'dom': (4, 7, 10),
    'dim': (3, 6, 10), 'six': (4, 7, 9), 'sus': (5, 7, 10),
}
DRUMS = {'kick': 'Kick', 'snare': 'Snare', 'hat': 'Hat', 'open': 'Hat',
         'shaker': 'Hat', 'rim': 'Rim', 'crash': 'Crash'}
KIND = {
    'kick': ['full', 'soft', 'hard'], 'snare': ['full', 'clap', 'big'],
    'bass': ['round', 'dirty', 'funk', 'tender'],
    'pad': ['saw', 'warm', 'stab'], 'arp': ['pulse', 'glass'],
    'hook': ['bell', 'lead', 'tease', 'warm', 'dark'],
}
KIND['lead'] = KIND['hook']


class SongError(Exception):
    pass


def key_of(name):
    """'F#3' -> 54"""
    m = re.fullmatch(r'([A-G])([#b]?)(-?\d)', name)
    if not m:
        raise SongError(f'not a note: {name}')
    return (NOTE[m[1]] + {'#': 1, 'b': -1, '': 0}[m[2]] + 12 * (int(m[3]) + 1))


class Chord:
    def __init__(self, words):
        self.name, root, quality, *voicing = words
        # the bass lives between G1 and F#2
        root = key_of(root + '1')
        self.root = root if root >= 31 else root + 12
        self.third, self.fifth, self.seventh = QUALITY[quality]
        self.voicing = [key_of(n) for n in voicing]
        classes = sorted({n % 12 for n in self.voicing} | {self.root % 12})
        # rungs of the arpeggio, rising from D4
        self.rungs = [n for n in range(62, 110) if n % 12 in classes]


class Song:
    def __init__(self, text):
        self.chords, self.patterns, self.phrases, self.sections = {}, {}, {}, []
        part = None
        phrase = None
        for number, line in enumerate(text.splitlines(), 1):
            line = re.sub(r'(^|\s)#( .*|$)', '', line).rstrip()
            if not line.strip():
                continue
            try:
                if line.startswith('['):
                    part = line.strip('[] ')
                elif part == 'chords':
                    chord = Chord(line.split())
                    self.chords[chord.name] = chord
                elif part == 'patterns':
                    name, body = line.split(None, 1)
                    self.patterns[name] = body.strip()
                elif part == 'song':
                    words = line.split()
                    if words[0] == 'section':
                        self.sections.append((len(self.phrases) + 1, line.split(None, 1)[1]))
                    elif words[0] == 'phrase':
                        n = int(words[1])
                        if n != len(self.phrases) + 1:
                            raise SongError('phrases must be numbered in order')
                        phrase = self.phrases[n] = []
                    elif words[0] == 'as':
                        phrase.extend(self.phrases[int(words[1])])
                    elif words[0] == 'no':
                        for track in words[1:]:
                            phrase[:] = [w for w in phrase if w[0] != track]
                    else:
                        if words[0] in ('chords', 'swing', 'lift'):   # the last one counts
                            phrase[:] = [w for w in phrase if w[0] != words[0]]
                        phrase.append(words)
                else:
                    raise SongError('text before the first [heading]')
            except (SongError, KeyError, ValueError, IndexError) as e:
                raise SystemExit(f'song.txt:{number}: {line.strip()}: {e!r}')

    # --- patterns ---------------------------------------------------------

    def bars(self, track, name):
        """The two bars of a pattern; a single bar is played twice."""
        body = self.patterns[f'{track}.{name}']
        bars = [b.strip() for b in body.split('|')]
        if len(bars) == 1:
            bars *= 2
        if len(bars) != 2:
            raise SongError(f'{track}.{name}: one or two bars, not {len(bars)}')
        return bars

    def grid(self, track, name):
        """32 characters."""
        out = ''
        for bar in self.bars(track, name):
            bar = bar.replace(' ', '')
            if len(bar) != 16:
                raise SongError(f'{track}.{name}: a bar has 16 steps, not {len(bar)}: {bar}')
            out += bar
        return out

    def notes(self, track, name):
        """[(step, length, text)]; text is None for nothing, velocity by '!' and '?'"""
        out = []
        for i, bar in enumerate(self.bars(track, name)):
            at = 0.0
            for token in bar.split():
                text, length = token.rsplit(':', 1)
                length = float(length)
                if text != '-':
                    out.append((16 * i + at, length, text))
                at += length
            if abs(at - 16) > 1e-6:
                raise SongError(f'{track}.{name}: bar {i + 1} has {at:g} sixteenths')
        return out

    # --- score ------------------------------------------------------------

    def chords_of(self, words):
        """[(from step, to step, chord)]"""
        bars = ' '.join(words).split('|')
        if len(bars) != 2:
            raise SongError('chords: two bars wanted')
        out = []
        for i, bar in enumerate(bars):
            names = bar.split()
            size = 16 / len(names)
            for j, name in enumerate(names):
                out.append((16 * i + size * j, 16 * i + size * (j + 1), self.chords[name]))
        return out

    def score(self):
        events = []
        for n, lines in self.phrases.items():
            try:
                self.play(n, lines, events)
            except (SongError, KeyError, ValueError, IndexError) as e:
                raise SystemExit(f'song.txt: phrase {n}: {e!r}')
        # a kick ends where the next one starts
        kicks = sorted(e[0] for e in events if e[1] == 'Kick')
        after = dict(zip(kicks, kicks[1:]))
        return [(t, name, min(length, after.get(t, t + 1) - t) if name == 'Kick' else length, f)
                for t, name, length, f in events]

    def play(self, n, lines, events):
        start = FIRST + (n - 2) * PHRASE
        plain = {w[0]: w[1:] for w in lines if w[0] in ('chords', 'swing', 'lift')}
        chords = self.chords_of(plain['chords'])
        after = self.phrases.get(n + 1)
        after = [w for w in after if w[0] == 'chords'] if after else []
        following = self.chords_of(after[-1][1:])[0][2] if after else chords[0][2]
        swing = float(plain.get('swing', ['0'])[0])
        lift = int(plain.get('lift', ['0'])[0])

        def when(step):
            """Odd sixteenths may come a little late."""
            late = swing * STEP if abs(step % 2 - 1) < 1e-6 else 0
            return start + step * STEP + late

        def chord_at(step):
            return next(i for i, (a, b, _) in enumerate(chords) if a <= step < b)

        def add(name, time, length, *fields):
            if time < 0:                    # the pick-up is cut at zero
                length += time
                time = 0.0
                if length < 0.02:
                    return
            events.append((time, name, length, fields))

        for words in lines:
            track = words[0]
            opts = dict(w.split('=') for w in words[1:] if '=' in w)
            args = [w for w in words[1:] if '=' not in w]
            vel = float(opts.get('vel', 1))
            pan = float(opts.get('pan', 0))
            kind = 0
            if track in KIND and args[0] in KIND[track]:
                kind = KIND[track].index(args.pop(0))

            if track in ('chords', 'swing', 'lift'):
                continue

            if track == 'voice':
                add('Room', start, 2.6)

            elif track == 'set':            # set padcut 400 2400 [from-step to-step]
                a, b = (float(args[3]), float(args[4])) if len(args) > 3 else (0, 32)
                add('Set', start + a * STEP, (b - a) * STEP,
                    f'"{args[0]}"', float(args[1]), float(args[2]))

            elif track in DRUMS:
                if when(0) < 0 and track == 'kick':
                    raise SongError('no kick before zero')
                for i, c in enumerate(self.grid(track, args[0])):
                    if c == '.' or when(i) < 0:
                        continue
                    v = vel * int(c) / 9
                    if track == 'kick':
                        add('Kick', start + i * STEP, 0.44, v, kind)
                    elif track == 'snare':
                        add('Snare', when(i), 0.5, v, kind)
                    elif track == 'hat':
                        add('Hat', when(i), 0.16, v, (-0.25, 0.22)[i % 2] + pan, 0)
                    elif track == 'open':
                        add('Hat', when(i), 0.36, v, 0.12 + pan, 1)
                    elif track == 'shaker':
                        add('Hat', when(i), 0.14, v, 0.45 - 0.9 * (i % 2), 2)
                    elif track == 'rim':
                        add('Rim', when(i), 0.09, v, (-0.4, 0.4)[(i // 2) % 2])
                    elif track == 'crash':
                        add('Crash', when(i), 2.6, v)

            elif track == 'tom':
                for i, c in enumerate(self.grid(track, args[0])):
                    if c in 'hml':
                        at = 'hml'.index(c)
                        add('Tom', when(i), 0.5, vel, (55, 50, 45)[at], (-0.4, 0, 0.4)[at])

            elif track == 'bass':
                grid = self.grid(track, args[0])
                i = 0
                while i < 32:
                    c = grid[i]
                    j = i + 1
                    if c in '.-':
                        i = j
                        continue
                    while j < 32 and grid[j] == '-':
                        j += 1
                    k = chord_at(i)
                    chord = chords[k][2]
                    ahead = chords[k + 1][2] if k + 1 < len(chords) else following
                    interval = {'R': 0, 'r': 0, '8': 12, '5': chord.fifth,
                                '3': chord.third, '7': chord.seventh, '4': chord.fifth - 12,
                                'o': chord.seventh - 12, '+': 1}
                    if c in interval:
                        note = chord.root + interval[c]
                    elif c in '<>':         # a semitone below, above what comes
                        note = ahead.root + {'<': -1, '>': 1}[c]
                    else:
                        raise SongError(f'bass {args[0]}: what is {c!r}?')
                    soft = 0.72 if c == 'r' else 1
                    add('Bass', when(i), (j - i) * STEP * 0.93, vel * soft, note + lift, kind)
                    i = j

            elif track == 'pad':
                if args[0] == 'hold':
                    for a, b, chord in chords:
                        for note in chord.voicing:
                            attack = float(opts.get('attack', 0.06))
                            add('Pad', start + a * STEP, (b - a) * STEP + 0.22, vel,
                                note + lift, attack, 0.3, kind)
                else:
                    grid = self.grid(track, args[0])
                    for i, c in enumerate(grid):
                        if c in '.-':
                            continue
                        j = i + 1
                        while j < 32 and grid[j] == '-':
                            j += 1
                        for note in chords[chord_at(i)][2].voicing:
                            add('Pad', when(i), (j - i) * STEP * 0.9 + 0.05,
                                vel * int(c) / 9, note + lift, 0.004, 0.06, kind)

            elif track == 'arp':
                oct_ = 12 * int(opts.get('octave', 0))
                for i, c in enumerate(self.grid(track, args[0])):
                    if c == '.':
                        continue
                    rungs = chords[chord_at(i)][2].rungs
                    accent = 1 if i % 4 == 0 else 0.82
                    side = float(opts.get('width', 0.7)) * (1 if (i // 2) % 2 else -1)
                    add('Arp', when(i), STEP * 1.6, vel * accent,
                        rungs[int(c) - 1] + oct_ + lift, side, kind)

            elif track in ('hook', 'lead'):
                oct_ = 12 * int(opts.get('octave', 0))
                for at, length, text in self.notes('hook', args[0]):
                    if 'bars' in opts and str(int(at // 16) + 1) not in opts['bars']:
                        continue
                    v = vel * (1.12 if '!' in text else 0.7 if '?' in text else 0.9)
                    t = when(at)
                    if t < 0:
                        continue
                    sound = max(length * STEP * 0.96, 0.12)
                    if kind in (0, 3, 4):   # bells ring on
                        sound += 0.25
                    add('Hook', t, sound, v, key_of(text.strip('!?')) + oct_ + lift, kind, pan)

            elif track == 'ring':
                for at, length, text in self.notes(track, args[0]):
                    low, high = text.strip('!?').split('/')
                    if when(at) < 0:
                        continue
                    add('Ring', when(at), length * STEP, vel, key_of(low) + lift,
                        key_of(high) + lift, pan)

            elif track in ('riser', 'swell'):   # the last N sixteenths of the phrase,
                size = float(args[0])           # less a breath before the one
                breath = 1 if track == 'riser' else 0.7
                add(track.capitalize(), start + (32 - size) * STEP, (size - breath) * STEP,
                    vel, 50 + lift)

            elif track == 'boom':
                add('Boom', start, 2.2, vel)

            else:
                raise SongError(f'unknown track {track!r}')

    def end(self):
        return FIRST + (len(self.phrases) - 1) * PHRASE


def main(argv):
    sections = '--sections' in argv
    argv = [a for a in argv if a != '--sections']
    with open(argv[1], encoding='utf-8') as f:
        song = Song(f.read())
    if sections:
        starts = [max(0, FIRST + (p - 2) * PHRASE) for p, _ in song.sections] + [song.end()]
        for (_, name), a, b in zip(song.sections, starts, starts[1:]):
            print(f'{a:.4f}\t{b:.4f}\t{name}')
        return
    print(f'; written by compose.py - {BPM:.6f} BPM, {song.end():.3f} s')
    total = song.end()
    print(f'i "Metal" 0 {total:.4f}')
    print(f'i "Desk" 0 {total:.4f}')
    for time, name, length, fields in sorted(song.score(), key=lambda e: (e[0], e[1], str(e[3]))):
        fields = ' '.join(f if isinstance(f, str) else f'{f:.6g}' for f in fields)
        print(f'i "{name}" {time:.7f} {length:.6f} {fields}'.rstrip())
    print('e')


if __name__ == '__main__':
    main(sys.argv)
