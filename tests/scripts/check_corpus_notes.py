#!/usr/bin/env python3
"""The text of real RTF files and RTFD packages after the note conversion, against LibreOffice.

    check_corpus_notes.py CONVERTER SHARED_FOLDER [--keep]

Every file of SHARED_FOLDER/corpus/rtf and every package of SHARED_FOLDER/corpus/rtfd (as
SOURCES.tsv lists them) goes through CONVERTER, which writes the note package exactly as the
note stage does. LibreOffice, an independent reader, then turns both the source (an RTFD
package through its TXT.rtf) and the note package's TXT.rtf into plain text, and the two
texts are compared.

What is compared: each text is taken as Unicode and put in compatibility composed form
(NFKC); what LibreOffice shows for an RTFD attachment (its file name and placeholder
character) is taken out; a list marker counts as one and the same bullet, whichever glyph
it is drawn with (the bullet glyphs in BULLETS anywhere, and "-", dashes, "*", "+", "o" and
"\u00a7" at the start of a line followed by a blank); and every character that is layout
rather than text is dropped: white space of any kind (so line ends, tabs between table cells
and indentation do not count), zero-width and direction marks, soft hyphens and U+FFFC.
What is left is a multiset of characters for each side. A character of the source is lost
once for every time it occurs more often in the source's multiset than in the note's;
characters the note has in excess are not counted (a reader may keep text LibreOffice
drops). The loss of a file is that count, and its percentage is the count divided by the
number of characters in the source's multiset. Order is left out on purpose: footnotes,
headers and table cells may come out of either reader at another place without any text
being lost.

It prints one line per file that loses characters (the file, the characters lost, the
percentage, and a sample of what is missing) and a total. It fails when a file loses more
than 0.1 % of its characters, when a file does not become a note package with a TXT.rtf,
when an attachment of an RTFD package is not in its note package, or when LibreOffice
cannot read a source or a note package. Where LibreOffice is itself wrong, the file's entry
in LIBREOFFICE_MISREADS below says which characters and why: those are printed but not
counted against the threshold.

Exits 77 (a skip for CTest) when the shared folder's corpus or LibreOffice is not there, or 1
when they are required (KI_REQUIRE_SHARED=1, as in CI).
"""

import collections
import csv
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unicodedata

SKIP = 77
THRESHOLD_PERCENT = 0.1
CONVERSION_TIMEOUT_SECONDS = 60
SOFFICE_TIMEOUT_SECONDS = 1200
SOFFICE_BATCH = 200

# Files whose text LibreOffice itself gets wrong, by their path in SOURCES.tsv: the characters
# that LibreOffice shows wrongly, and why. Those characters are still counted and printed but
# do not fail the check; any other loss in the same file does. There is no list of losses
# expected of the note conversion itself.
#
# Lists written with \listtext markers (Cocoa, pandoc): the marker is the text of that group,
# and a paragraph of the list without one (a second paragraph of an item, an empty line)
# shows none; LibreOffice draws the list's marker on every paragraph of the list.
LISTTEXT_MARKERS = ('\u2022', 'LibreOffice draws a bullet on list paragraphs that carry no \\listtext marker')
LIBREOFFICE_MISREADS = {
    'rtf/TeXShop__about215 - 218.rtf': LISTTEXT_MARKERS,
    'rtf/skim__ReleaseNotes.rtf': LISTTEXT_MARKERS,
    'rtf/skim-SkimNotes__ReleaseNotes.rtf': LISTTEXT_MARKERS,
    'rtfd/psmtabbar__ReadMe.rtfd': LISTTEXT_MARKERS,
    # \bin data (a pandoc image whose \bin has no length, a ten-byte \bin picture): LibreOffice
    # does not load these files at all, so there is nothing to compare with.
    'rtf/pandoc__image.rtf': (None, 'LibreOffice cannot load a file with this \\bin data'),
    'rtf/tika__testBinControlWord.rtf': (None, 'LibreOffice cannot load a file with this \\bin data'),
    # Its fonts say \fcharset1 (the system's default character set), which LibreOffice turns
    # into U+FFFD for \'94, where the document's \ansicpg1252 makes it a quotation mark.
    'rtf/tika__testRTFHyperlinkAndStyles.rtf': ('\ufffd', 'LibreOffice cannot decode \\fcharset1 text'),
    # Blanks and a line break stand between its "{" and "\rtf1": LibreOffice takes the file for
    # plain text and shows its RTF source, so there is no text of the document to compare with.
    'rtf/rtfparser-rs__RTF-test.rtf': (None, 'LibreOffice reads the file as plain text, not as RTF'),
    # pandoc renders each numbered item's number in \listtext ("1.") but gives every list of the
    # list table a bullet; LibreOffice draws the list table's bullet and leaves out the number.
    'rtf/pandoc__writer.rtf': ('\u2022', 'LibreOffice draws the list table\'s bullet instead of the '
                               'number the writer rendered in \\listtext'),
}

# Characters that are layout, not text.
DROPPED = set('\u00ad\u034f\u061c\u115f\u1160\u17b4\u17b5\u180e\u200b\u200c\u200d\u200e\u200f'
              '\u202a\u202b\u202c\u202d\u202e\u2060\u2061\u2062\u2063\u2064\u2066\u2067\u2068\u2069'
              '\ufeff\ufffc')
BULLET = '\u2022'
# Glyphs that are bullets wherever they stand; each counts as BULLET. Private-use characters of
# symbol fonts (U+F000 to U+F0FF), which readers use for Symbol and Wingdings bullets, too.
BULLETS = set('\u2022\u2023\u2043\u2219\u25aa\u25ab\u25a0\u25a1\u25cb\u25cf\u25e6\u25c6\u25c7\u25d8\u25d9'
              '\u27a2\u27a4\u2713\u2714\u2756\u2666\u00b7\u26ab\u25fc\u2b1d')
# Glyphs that are a list's marker only at the start of a line (after blanks) and followed by a
# blank, as LibreOffice writes a list item: there they count as BULLET too.
LINE_MARKERS = re.compile('^(\\s*)[-\u2013\u2014*+o\u00a7](?=\\s)', re.MULTILINE)
# An attachment of a Cocoa RTF (\NeXTGraphic NAME \width...): LibreOffice shows its file name
# and its placeholder character (\'ac, which is a different glyph in each code page) as text.
ATTACHMENT = re.compile(rb'\\NeXTGraphic\s+(.+?)\s+\\width')
PLACEHOLDERS = '\u00ac\u00a8\ufffc'


def attachment_names(rtf):
    """The file names of the attachments that the RTF bytes name, each as the code pages
    LibreOffice may read it in."""
    names = set()
    for raw in ATTACHMENT.findall(rtf):
        for encoding in ('utf-8', 'cp1252', 'mac_roman'):
            names.add(raw.decode(encoding, errors='replace'))
    return sorted(names, key=len, reverse=True)


def without_attachments(text, names):
    """`text` without the attachments' names and placeholder characters that LibreOffice
    shows in place of each attachment."""
    for name in names:
        text = re.sub(re.escape(name) + '[ \t]?[' + PLACEHOLDERS + ']?', '', text)
    return text


def normalised(text):
    """The characters of `text` that are compared, in order (see the module's description)."""
    text = LINE_MARKERS.sub(lambda match: match.group(1) + BULLET, text)
    out = []
    for ch in unicodedata.normalize('NFKC', text):
        if ch.isspace() or ch in DROPPED:
            continue
        if ch in BULLETS or 0xF000 <= ord(ch) <= 0xF0FF:
            ch = BULLET
        out.append(ch)
    return ''.join(out)


def lost_characters(source, note):
    """The multiset difference source - note, as a Counter."""
    return collections.Counter(source) - collections.Counter(note)


def missing_sample(source_text, note_normalised, lost, width=60):
    """A short sample of what is missing: the first source line whose compared characters do
    not occur in the note's text, and the lost characters themselves, most frequent first."""
    context = ''
    for line in source_text.splitlines():
        compared = normalised(line)
        if compared and compared not in note_normalised and any(ch in lost for ch in compared):
            context = ' '.join(line.split())
            break
    chars = ''.join(ch for ch, _ in lost.most_common(20))
    if len(context) > width:
        context = context[:width] + '...'
    return 'lost chars %r; first line missing: %r' % (chars, context)


def read_rows(corpus):
    with open(os.path.join(corpus, 'SOURCES.tsv'), encoding='utf-8', newline='') as index:
        rows = list(csv.DictReader(index, delimiter='\t', quoting=csv.QUOTE_NONE))
    return [row['local_path'] for row in rows
            if row['local_path'].startswith('rtf/') or row['local_path'].startswith('rtfd/')]


class Converter:
    """The note converter, one request at a time; restarted after a crash or a hang."""

    def __init__(self, program):
        self.program = program
        self.process = None

    def _start(self):
        self.process = subprocess.Popen([self.program], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, text=True, encoding='utf-8', bufsize=1)

    def convert(self, source, note):
        if self.process is None or self.process.poll() is not None:
            self._start()
        import selectors
        self.process.stdin.write('%s\t%s\n' % (source, note))
        self.process.stdin.flush()
        selector = selectors.DefaultSelector()
        selector.register(self.process.stdout, selectors.EVENT_READ)
        ready = selector.select(CONVERSION_TIMEOUT_SECONDS)
        selector.close()
        if not ready:
            self.stop()
            return 'hang', 'no answer within %d s' % CONVERSION_TIMEOUT_SECONDS
        answer = self.process.stdout.readline()
        if not answer:
            status = self.process.wait()
            self.process = None
            return 'crash', 'the converter ended with status %d' % status
        outcome, _, reason = answer.rstrip('\n').partition('\t')
        return outcome, reason

    def stop(self):
        if self.process is not None:
            self.process.kill()
            self.process.wait()
            self.process = None

    def close(self):
        if self.process is not None:
            self.process.stdin.close()
            self.process.wait()
            self.process = None


def libreoffice_texts(soffice, inputs, work):
    """Converts every file of `inputs` to UTF-8 text with LibreOffice, many files per start
    (each start takes seconds); answers {input path: text} for the files it could convert."""
    profile = os.path.join(work, 'lo-profile')
    outdir = os.path.join(work, 'lo-text')
    os.makedirs(outdir, exist_ok=True)
    texts = {}
    for start in range(0, len(inputs), SOFFICE_BATCH):
        batch = inputs[start:start + SOFFICE_BATCH]
        # A private profile, so that this run neither waits for nor hands its work to another
        # LibreOffice of the same user.
        command = [soffice, '--headless', '--norestore', '--nolockcheck',
                   '-env:UserInstallation=file://' + profile,
                   '--convert-to', 'txt:Text (encoded):UTF8', '--outdir', outdir] + batch
        process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   start_new_session=True)
        try:
            process.wait(timeout=SOFFICE_TIMEOUT_SECONDS)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            print('LibreOffice did not finish %d files within %d s' % (len(batch), SOFFICE_TIMEOUT_SECONDS))
        for path in batch:
            out = os.path.join(outdir, os.path.splitext(os.path.basename(path))[0] + '.txt')
            if os.path.exists(out):
                with open(out, encoding='utf-8-sig', errors='replace') as handle:
                    texts[path] = handle.read()
    return texts


def file_bytes(path):
    with open(path, 'rb') as handle:
        return handle.read()


def missing_attachments(source_package, note_package):
    """The attachments that the source package's TXT.rtf names and holds, whose contents are
    not among the note package's files (which may name them differently)."""
    if not os.path.isdir(source_package):
        return []
    arrived = {file_bytes(os.path.join(note_package, member)) for member in os.listdir(note_package)
               if os.path.isfile(os.path.join(note_package, member))}
    # A name may be written decomposed in the RTF and composed on disk: macOS file systems
    # take either for the other.
    members = {unicodedata.normalize('NFC', member): os.path.join(source_package, member)
               for member in os.listdir(source_package)}
    missing = []
    for raw in ATTACHMENT.findall(file_bytes(os.path.join(source_package, 'TXT.rtf'))):
        member = members.get(unicodedata.normalize('NFC', raw.decode('utf-8', errors='replace')))
        if member and os.path.isfile(member) and file_bytes(member) not in arrived:
            missing.append(os.path.basename(member))
    return missing


def not_there(what):
    """A skip on a checkout without the corpus or LibreOffice; a failure where the build asks for
    the shared folder (KI_REQUIRE_SHARED=1, as CI does), so that the check cannot vanish there."""
    if os.environ.get('KI_REQUIRE_SHARED') == '1':
        print('FAIL: %s, and the shared folder and its readers are required' % what)
        return 1
    print('SKIP: %s' % what)
    return SKIP


def main(argv):
    if len(argv) < 3:
        print(__doc__)
        return 2
    converter_program, shared = argv[1], argv[2]
    keep = '--keep' in argv[3:]
    corpus = os.path.join(shared, 'corpus')
    if not os.path.isfile(os.path.join(corpus, 'SOURCES.tsv')):
        return not_there('the corpus %s is not there' % corpus)
    soffice = shutil.which('soffice') or shutil.which('libreoffice')
    if not soffice:
        return not_there('LibreOffice (soffice) is not installed; Debian package libreoffice-writer-nogui')
    os.environ.setdefault('QT_QPA_PLATFORM', 'offscreen')

    started = time.monotonic()
    work = tempfile.mkdtemp(prefix='corpus-notes-')
    sources_dir = os.path.join(work, 'sources')
    notes_dir = os.path.join(work, 'notes')
    back_dir = os.path.join(work, 'note-text')
    for folder in (sources_dir, notes_dir, back_dir):
        os.makedirs(folder)

    failures = []
    names = read_rows(corpus)
    converter = Converter(converter_program)
    source_copies = {}
    note_copies = {}
    for number, name in enumerate(names, 1):
        path = os.path.join(corpus, name)
        if not os.path.exists(path):
            failures.append('%s: not in the corpus folder' % name)
            continue
        # LibreOffice names its output after the input; numbered copies keep them apart.
        source_rtf = os.path.join(path, 'TXT.rtf') if os.path.isdir(path) else path
        copy = os.path.join(sources_dir, '%04d.rtf' % number)
        shutil.copyfile(source_rtf, copy)
        source_copies[name] = copy

        note = os.path.join(notes_dir, '%04d.nvnote' % number)
        outcome, reason = converter.convert(os.path.abspath(path), note)
        note_rtf = os.path.join(note, 'TXT.rtf')
        if outcome != 'converted':
            failures.append('%s: did not arrive as a note (%s: %s)' % (name, outcome, reason))
            continue
        if not os.path.isfile(note_rtf):
            failures.append('%s: the note package has no TXT.rtf' % name)
            continue
        for attachment in missing_attachments(path, note):
            print('%s: the attachment %r did not arrive' % (name, attachment))
            failures.append('%s: lost the attachment %r' % (name, attachment))
        back = os.path.join(back_dir, '%04d-note.rtf' % number)
        shutil.copyfile(note_rtf, back)
        note_copies[name] = back
    converter.close()
    converted_at = time.monotonic()

    texts = libreoffice_texts(soffice, list(source_copies.values()) + list(note_copies.values()), work)
    read_at = time.monotonic()

    total_chars = 0
    total_lost = 0
    losing = 0
    for name in names:
        if name not in note_copies:
            continue
        misread_chars, misread_reason = LIBREOFFICE_MISREADS.get(name, ('', ''))
        source_text = texts.get(source_copies[name])
        note_text = texts.get(note_copies[name])
        if source_text is None or misread_chars is None:
            if misread_chars is None:
                print('%s: not compared (%s)' % (name, misread_reason))
            else:
                failures.append('%s: LibreOffice cannot read the source' % name)
            continue
        if note_text is None:
            failures.append('%s: LibreOffice cannot read the note package\'s TXT.rtf' % name)
            continue
        source_text = without_attachments(source_text, attachment_names(file_bytes(source_copies[name])))
        note_text = without_attachments(note_text, attachment_names(file_bytes(note_copies[name])))
        source = normalised(source_text)
        note = normalised(note_text)
        lost = lost_characters(source, note)
        count = sum(lost.values())
        total_chars += len(source)
        total_lost += count
        if count == 0:
            continue
        losing += 1
        percent = 100.0 * count / len(source)
        line = '%s: %d of %d characters lost (%.3f %%); %s' % (
            name, count, len(source), percent, missing_sample(source_text, note, lost))
        excused = sum(n for ch, n in lost.items() if ch in misread_chars)
        if excused:
            line += ' [%d of them not counted: %s]' % (excused, misread_reason)
        failing_percent = 100.0 * (count - excused) / len(source)
        if failing_percent > THRESHOLD_PERCENT:
            failures.append('%s: loses %.3f %% of its characters' % (name, failing_percent))
        print(line)

    percent = 100.0 * total_lost / total_chars if total_chars else 0.0
    print('total: %d files, %d lose characters; %d of %d characters lost (%.3f %%)' % (
        len(names), losing, total_lost, total_chars, percent))
    print('time: %.0f s converting notes, %.0f s in LibreOffice' % (converted_at - started, read_at - converted_at))
    if keep:
        print('work folder kept: %s' % work)
    else:
        shutil.rmtree(work, ignore_errors=True)
    if failures:
        print('FAILED: %d file(s)' % len(failures))
        for failure in failures:
            print('  ' + failure)
        return 1
    return 0


if __name__ == '__main__':
    sys.exit(main(sys.argv))
