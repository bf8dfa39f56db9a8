; beat.orc - the instruments and the mixing desk of "beat"
;
; Every sound is synthesised here: no samples. The score (which instrument,
; when, how loud, which note) is written by compose.py out of song.txt.
;
;   p4 is always the velocity (0..1); p5, where there is a pitch, a MIDI key.
;
; Each instrument adds its sound to a bus (gaKick, gaBass, ...) and, if wanted,
; to the sends of the delay and of the reverb; "Desk" at the very end reads all
; the buses, ducks, equalises and sums them.

sr     = 44100
ksmps  = 16
nchnls = 2
0dbfs  = 1
seed 1605

giSine  ftgen 1, 0, 16384, 10, 1
giStep  = 60 / 98.96907216494846 / 4        ; a sixteenth note, in seconds

; buses
gaKick  init 0                                ; mono
gaSnL   init 0
gaSnR   init 0
gaHatL  init 0
gaHatR  init 0
gaBass  init 0                                ; mono
gaPadL  init 0
gaPadR  init 0
gaArpL  init 0
gaArpR  init 0
gaHookL init 0
gaHookR init 0
gaFxL   init 0
gaFxR   init 0
; sends
gaDlyL  init 0
gaDlyR  init 0
gaRevL  init 0
gaRevR  init 0
; metal for the hats and the crash, always running, see "Metal"
gaMetL  init 0
gaMetR  init 0
; how far the kick presses the others down at this moment, 0..1
gkDuck  init 0
; 1 while the voice of the show is expected to speak
gkRoom  init 0

; what the "set" lines of song.txt move
chn_k "padcut", 3
chn_k "arpcut", 3
chn_k "basscut", 3
chn_k "drumcut", 3
chn_k "padlevel", 3
chn_k "level", 3
chnset 2400,  "padcut"
chnset 2600,  "arpcut"
chnset 700,   "basscut"
chnset 19000, "drumcut"
chnset 1,     "padlevel"
chnset 1,     "level"

; --- helpers ---------------------------------------------------------------

opcode Pan, aa, ai                            ; equal power, -1 left .. 1 right
  asig, ipan xin
  iang = (ipan + 1) * $M_PI / 4
  xout asig * cos(iang), asig * sin(iang)
endop

opcode Noise, a, i                            ; white noise, its own fixed seed
  iseed xin
  asig rand 1, 0.1 + 0.8 * frac(iseed * 0.6180339), 1
  xout asig
endop

; --- automation ------------------------------------------------------------

instr Set                                     ; p4 channel, p5 from, p6 to
  Sch = p4
  iratio = p6 / p5
  kt   line 0, p3, 1
  chnset p5 * iratio ^ kt, Sch
endin

instr Room
  gkRoom = 1
endin

; --- drums -----------------------------------------------------------------

instr Metal                                   ; six squares that never agree
  a1 vco2 0.3, 263.1 * 7.3, 10
  a2 vco2 0.3, 400.7 * 7.3, 10
  a3 vco2 0.3, 421.3 * 7.3, 10
  a4 vco2 0.3, 474.9 * 7.3, 10
  a5 vco2 0.3, 587.2 * 7.3, 10
  a6 vco2 0.3, 845.6 * 7.3, 10
  gaMetL = a1 + a3 + a5 + 0.5 * (a2 + a4)
  gaMetR = a2 + a4 + a6 + 0.5 * (a1 + a5)
endin

instr Kick                                    ; p5: 0 full, 1 soft, 2 hard
  iclick = (p5 == 1 ? 0.08 : (p5 == 2 ? 0.30 : 0.24))
  idrive = (p5 == 1 ? 0.9  : (p5 == 2 ? 2.6  : 1.7))
  ilen   = (p5 == 1 ? 0.11 : (p5 == 2 ? 0.13 : 0.125))
  at    line 0, p3, p3
  afr   = 49 + 60 * exp(-at / 0.034) + (p5 == 1 ? 90 : 270) * exp(-at / 0.0065)
  asub  oscili 1, afr, giSine
  aamp  = exp(-at / ilen)
  agate linseg 1, p3 - 0.03, 1, 0.03, 0
  abody = tanh(asub * aamp * idrive) / tanh(idrive)
  ; click: a burst of noise and a knock of wood
  an    Noise p2 + 3
  an    butterhp an, 2600
  aknk  oscili 1, 1350 + 1400 * exp(-at / 0.003), giSine
  aclk  = an * exp(-at / 0.0028) + 0.6 * aknk * exp(-at / 0.005)
  gaKick += (abody * 0.92 + aclk * iclick) * agate * p4
  ; the others give way
  kenv  linseg 1, 0.045, 1, 0.16, 0.28, 0.13, 0
  gkDuck = max(gkDuck, kenv * p4 * (p5 == 1 ? 0.75 : 1))
endin

instr Snare                                   ; p5: 0 full, 1 clap, 2 big
  at    line 0, p3, p3
  afr   = 178 + 120 * exp(-at / 0.012)
  a1    oscili 1, afr, giSine
  a2    oscili 0.45, afr * 1.58, giSine
  abody = (a1 + a2) * exp(-at / (p5 == 2 ? 0.085 : 0.055))
  anl   Noise p2 * 2 + 11
  anr   Noise p2 * 3 + 29
  anm   Noise p2 * 5 + 47
  anl   = 0.75 * anm + 0.5 * anl
  anr   = 0.75 * anm + 0.5 * anr
  anl   butterhp anl, 1500
  anr   butterhp anr, 1500
  anl   butterlp anl, 10500
  anr   butterlp anr, 10500
  ; three hands before the tail
  aclap linseg 1, 0.009, 0.18, 0.0006, 0.9, 0.010, 0.18, 0.0006, 1, 0.012, 0.55, 0.15, 0.02, p3, 0
  atail = exp(-at / (p5 == 2 ? 0.15 : 0.095))
  icl   = (p5 == 1 ? 1 : 0.55)
  itl   = (p5 == 1 ? 0.15 : 0.6)
  ibd   = (p5 == 1 ? 0.10 : (p5 == 2 ? 0.62 : 0.45))
  aenv  = (icl * aclap + itl * atail) * 0.85
  agate linseg 1, p3 - 0.03, 1, 0.03, 0
  al    = (abody * ibd + anl * aenv) * agate * p4
  ar    = (abody * ibd + anr * aenv) * agate * p4
  al    = tanh(2 * al) / 1.7
  ar    = tanh(2 * ar) / 1.7
  gaSnL += al
  gaSnR += ar
  isend = (p5 == 2 ? 0.85 : 0.48)
  gaRevL += al * isend
  gaRevR += ar * isend
endin

instr Hat                                     ; p5: pan, p6: 0 closed, 1 open, 2 shaker
  at    line 0, p3, p3
  an    Noise p2 * 7 + 5
  anr   Noise p2 * 11 + 17
  if p6 == 2 then
    aenv linseg 0, 0.018, 1, 0.05, 0.2, 0.04, 0, p3, 0
    al  = an
    ar  = 0.6 * an + 0.6 * anr
    al  butterbp al, 6800, 5000
    ar  butterbp ar, 6800, 5000
  else
    idec = (p6 == 1 ? 0.12 : 0.020 + 0.03 * p4)
    aenv = exp(-at / idec)
    al  = 0.8 * an + 0.34 * gaMetL
    ar  = 0.5 * an + 0.5 * anr + 0.34 * gaMetR
    al  butterhp al, 7200
    ar  butterhp ar, 7200
    al  butterhp al, 6200
    ar  butterhp ar, 6200
  endif
  agate linseg 1, p3 - 0.01, 1, 0.01, 0
  al    = al * aenv * agate * p4 * p4
  ar    = ar * aenv * agate * p4 * p4
  ipl   = cos((p5 + 1) * $M_PI / 4) * 1.414
  ipr   = sin((p5 + 1) * $M_PI / 4) * 1.414
  gaHatL += al * ipl
  gaHatR += ar * ipr
endin

instr Rim                                     ; p5: pan
  at    line 0, p3, p3
  a1    oscili 1, 1720, giSine
  a2    oscili 0.7, 465, giSine
  an    Noise p2 + 71
  an    butterhp an, 4000
  asig  = (a1 + a2) * exp(-at / 0.011) + 0.5 * an * exp(-at / 0.004)
  al, ar Pan asig * p4 * 0.5, p5
  gaSnL += al
  gaSnR += ar
  gaDlyL += al * 0.25
  gaDlyR += ar * 0.25
  gaRevL += al * 0.2
  gaRevR += ar * 0.2
endin

instr Tom                                     ; p5: key, p6: pan
  at    line 0, p3, p3
  ifr   = cpsmidinn(p5)
  afr   = ifr * (1 + 0.9 * exp(-at / 0.03))
  a1    oscili 1, afr, giSine
  an    Noise p2 + 83
  an    butterbp an, 2400, 2000
  asig  = tanh(1.5 * (a1 * exp(-at / 0.11) + 0.3 * an * exp(-at / 0.012))) / 2
  agate linseg 1, p3 - 0.03, 1, 0.03, 0
  al, ar Pan asig * agate * p4 * 0.8, p6
  gaSnL += al
  gaSnR += ar
  gaRevL += al * 0.2
  gaRevR += ar * 0.2
endin

instr Crash
  at    line 0, p3, p3
  al    Noise p2 + 101
  ar    Noise p2 + 131
  al    = 0.7 * al + 0.3 * gaMetL
  ar    = 0.7 * ar + 0.3 * gaMetR
  al    butterhp al, 4300
  ar    butterhp ar, 4300
  aenv  = (0.35 * exp(-at / 0.08) + 0.65 * exp(-at / 0.75)) * linseg:a(1, p3 - 0.3, 1, 0.3, 0)
  gaHatL += al * aenv * p4 * 0.32
  gaHatR += ar * aenv * p4 * 0.32
  gaRevL += al * aenv * p4 * 0.06
  gaRevR += ar * aenv * p4 * 0.06
endin

; --- effects ---------------------------------------------------------------

instr Riser                                   ; p5: key the tone starts from
  kx    line 0, p3, 1
  al    Noise p2 + 151
  ar    Noise p2 + 173
  kc    = 500 * (20 ^ kx)
  al    butterbp al, kc, kc * 0.5
  ar    butterbp ar, kc * 1.06, kc * 0.5
  kt    = cpsmidinn(p5) * (2 ^ (kx * kx * 2))
  at1   vco2 0.5, kt
  at2   vco2 0.5, kt * 1.008
  at1   butterhp at1, 300
  at2   butterhp at2, 300
  at1   butterlp at1, 900 + 5000 * kx
  at2   butterlp at2, 900 + 5000 * kx
  ; the chopping gets faster: sixteenths, at the end 32nds
  kchop oscili 0.5, (kx < 0.5 ? 1 : 2) / giStep, giSine, 0.25
  aenv  linseg 0, p3 * 0.5, 0.2, p3 * 0.5 - 0.012, 1, 0.012, 0
  al    = (al * 1.3 + at1 * 0.12) * aenv * (0.62 + 0.38 * kchop * 2) * p4
  ar    = (ar * 1.3 + at2 * 0.12) * aenv * (0.62 + 0.38 * kchop * 2) * p4
  gaFxL += al * 0.42
  gaFxR += ar * 0.42
  gaRevL += al * 0.10
  gaRevR += ar * 0.10
endin

instr Swell                                   ; a cymbal played backwards
  kx    line 0, p3, 1
  al    Noise p2 + 191
  ar    Noise p2 + 211
  al    butterhp al + 0.3 * gaMetL, 3600
  ar    butterhp ar + 0.3 * gaMetR, 3600
  aenv  expseg 0.004, p3 - 0.008, 1, 0.008, 0.001
  gaFxL += al * aenv * p4 * 0.3
  gaFxR += ar * aenv * p4 * 0.3
endin

instr Boom                                    ; the floor falls away
  at    line 0, p3, p3
  afr   = 36.7 + 50 * exp(-at / 0.18)
  a1    oscili 1, afr, giSine
  an    Noise p2 + 233
  an    butterlp an, 420
  agate linseg 1, p3 - 0.2, 1, 0.2, 0
  asig  = (a1 * exp(-at / 0.42) * 0.55 + an * exp(-at / 0.25) * 0.5) * agate * p4
  gaFxL += asig * 0.6
  gaFxR += asig * 0.6
  gaRevL += an * exp(-at / 0.3) * p4 * 0.25
  gaRevR += an * exp(-at / 0.3) * p4 * 0.25
endin

instr Ring                                    ; the telephone: p5, p6 two keys, p7 pan
  klfo  lfo 1, 1 / giStep, 3                  ; 0 or 1, thirty-seconds
  kfr   = cpsmidinn(klfo > 0.5 ? p6 : p5)
  kfr   port kfr, 0.002, cpsmidinn(p5)
  kix   linseg 1.4, p3, 0.5
  a1    foscili 1, kfr, 1, 2, kix, giSine
  a2    oscili 0.35, kfr * 2.003, giSine
  kam   = 0.7 + 0.3 * lfo(1, 1 / giStep, 3)
  aenv  linseg 0, 0.004, 1, p3 - 0.044, 0.8, 0.04, 0
  asig  = (a1 + a2) * aenv * kam * p4 * 0.3
  asig  butterhp asig, 500
  al, ar Pan asig, p7
  gaHookL += al
  gaHookR += ar
  gaDlyL += al * 0.45
  gaDlyR += ar * 0.45
  gaRevL += al * 0.35
  gaRevR += ar * 0.35
endin

; --- bass ------------------------------------------------------------------

instr Bass                                    ; p5 key, p6: 0 round 1 dirty 2 funk 3 tender
  ifr   = cpsmidinn(p5)
  kcut  chnget "basscut"
  asub  oscili 1, ifr, giSine
  agate linseg 0, 0.003, 1, p3 - 0.018, 0.92, 0.015, 0
  if p6 == 0 then
    a1  vco2 0.6, ifr, 2, 0.38
    a2  vco2 0.4, ifr * 1.004
    kenv expseg 1, 0.16, 0.3, p3 + 1, 0.2
    amix moogladder a1 + a2, kcut * (0.6 + 2.4 * kenv * p4), 0.22
    asig = asub * 0.55 + amix * 0.85
  elseif p6 == 1 then
    a1  vco2 0.6, ifr * 1.005
    a2  vco2 0.6, ifr * 0.995
    a3  vco2 0.45, ifr * 2.002, 2, 0.3
    kenv expseg 1, 0.11, 0.28, p3 + 1, 0.15
    amix moogladder a1 + a2 + a3, kcut * (0.8 + 5 * kenv * p4), 0.42
    amix = tanh(amix * 3.6) * 0.7
    amix butterhp amix, 140
    asig = asub * 0.8 + amix * 1.5
  elseif p6 == 2 then
    a1  vco2 0.7, ifr
    a2  vco2 0.4, ifr * 1.006, 2, 0.5
    kenv expseg 1, 0.075, 0.22, p3 + 1, 0.1
    amix moogladder a1 + a2, kcut * (0.5 + 5.5 * kenv * p4), 0.5
    asig = asub * 0.75 + tanh(amix * 2.2) * 0.9
  else
    a1  vco2 0.6, ifr, 12
    a1  butterlp a1, 900
    asig = asub * 0.45 + a1 * 0.45
  endif
  gaBass += asig * agate * p4
endin

; --- chords ----------------------------------------------------------------

instr Pad                                     ; p5 key, p6 attack, p7 release, p8: 0 saw 1 warm 2 stab
  ifr   = cpsmidinn(p5)
  kcut  chnget "padcut"
  kcut  = limit(kcut, 150, 12000)
  id    = 0.0035 + 0.0012 * frac(p5 * 0.37)
  if p8 == 1 then
    a1  vco2 0.6, ifr * (1 + id * 0.7), 12
    a2  vco2 0.6, ifr * (1 - id * 0.7), 12
    a3  vco2 0.24, ifr * (1 + id)
    a4  vco2 0.24, ifr * (1 - id)
    a5  oscili 0.3, ifr * 2.001, giSine
    al  = a1 + a3 + a5
    ar  = a2 + a4 + a5
  else
    a1  vco2 0.5, ifr * (1 + id)
    a2  vco2 0.5, ifr * (1 - id)
    a3  vco2 0.5, ifr * (1 + id * 0.33)
    a4  vco2 0.5, ifr * (1 - id * 1.9)
    al  = a1 + 0.7 * a3 + 0.25 * a4
    ar  = a2 + 0.7 * a4 + 0.25 * a3
  endif
  if p8 == 2 then
    kenv expseg 1, 0.13, 0.25, p3 + 1, 0.2
    kcut = kcut * (0.3 + 1.6 * kenv)
  endif
  al    butterlp al, kcut
  ar    butterlp ar, kcut
  aenv  linseg 0, p6, 1, p3 - p6 - p7, 0.85, p7, 0
  al    = al * aenv * p4
  ar    = ar * aenv * p4
  gaPadL += al
  gaPadR += ar
  isend = (p8 == 2 ? 0.2 : 0.12)
  gaRevL += al * isend
  gaRevR += ar * isend
endin

; --- arpeggio --------------------------------------------------------------

instr Arp                                     ; p5 key, p6 pan, p7: 0 pulse 1 glass
  ifr   = cpsmidinn(p5)
  kcut  chnget "arpcut"
  at    line 0, p3, p3
  if p7 == 1 then
    kix expseg 1.6, 0.12, 0.3, p3, 0.1
    asig foscili 0.8, ifr, 1, 3.003, kix, giSine
    asig = asig * exp(-at / 0.16)
  else
    kpw = 0.32 + 0.12 * oscili:k(1, 0.21, giSine, frac(p2 * 0.21))
    a1  vco2 0.5, ifr, 2, kpw
    a2  vco2 0.4, ifr * 1.005
    kenv expseg 1, 0.09, 0.22, p3 + 1, 0.1
    asig moogladder a1 + a2, limit(kcut * (0.25 + 1.6 * kenv * p4), 100, 15000), 0.32
    asig = asig * exp(-at / 0.2)
  endif
  agate linseg 0, 0.002, 1, p3 - 0.022, 1, 0.02, 0
  asig  butterhp asig * agate * p4, 240
  al, ar Pan asig, p6
  gaArpL += al
  gaArpR += ar
  gaDlyL += ar * 0.8
  gaDlyR += al * 0.8
  gaRevL += al * 0.3
  gaRevR += ar * 0.3
endin

; --- hook ------------------------------------------------------------------

instr Hook                                    ; p5 key, p6: 0 bell 1 lead 2 tease 3 warm 4 dark, p7 pan
  ifr   = cpsmidinn(p5)
  at    line 0, p3, p3
  if p6 == 0 then                             ; FM bell
    kix expseg 2.4, 0.09, 1.0, 0.7, 0.25, p3, 0.15
    a1  foscili 0.55, ifr * 1.0012, 1, 2, kix, giSine
    a2  foscili 0.55, ifr * 0.9988, 1, 2, kix, giSine
    kx2 expseg 1.5, 0.05, 0.2, p3, 0.05
    a3  foscili 0.22, ifr, 1, 7.01, kx2, giSine
    a4  vco2 0.16, ifr, 2, 0.42
    a4  butterlp a4, 3800
    ae  = exp(-at / 0.55)
    al  = (a1 + a3) * ae + a4 * exp(-at / 0.9)
    ar  = (a2 + a3) * ae + a4 * exp(-at / 0.9)
  elseif p6 == 1 then                         ; detuned lead with a late vibrato
    kvd linseg 0, 0.22, 0, 0.25, 1, p3, 1
    kv  oscili 0.0045 * kvd, 5.4, giSine
    a1  vco2 0.42, ifr * (1.0035 + kv)
    a2  vco2 0.42, ifr * (0.9965 + kv)
    a3  vco2 0.3,  ifr * (1 + kv), 2, 0.4
    a4  vco2 0.2,  ifr * (2.002 + 2 * kv), 12
    kc  expseg 5600, 0.25, 3200, p3, 2600
    al  moogladder a1 + a3 + a4, kc, 0.15
    ar  moogladder a2 + a3 + a4, kc, 0.15
    ae  expseg 1, 0.3, 0.72, p3, 0.5
    al  = al * ae * 0.9
    ar  = ar * ae * 0.9
  elseif p6 == 2 then                         ; a short pulse that slides into its note
    kb  expseg 0.945, 0.045, 1, p3, 1
    a1  vco2 0.55, ifr * kb * 1.002, 2, 0.27
    a2  vco2 0.55, ifr * kb * 0.998, 2, 0.33
    a5  oscili 0.35, ifr * kb * 2, giSine
    kc  expseg 6500, 0.14, 1500, p3, 900
    al  moogladder a1 + a5, kc, 0.28
    ar  moogladder a2 + a5, kc, 0.28
    ae  = exp(-at / 0.26)
    al  = al * ae * 1.7
    ar  = ar * ae * 1.7
  elseif p6 == 3 then                         ; bell, triangle and an octave below
    kvd linseg 0, 0.25, 0, 0.3, 1, p3, 1
    kv  oscili 0.0035 * kvd, 5.1, giSine
    kix expseg 1.7, 0.1, 0.7, 0.8, 0.2, p3, 0.1
    a1  foscili 0.45, ifr * 1.001, 1, 2, kix, giSine
    a2  foscili 0.45, ifr * 0.999, 1, 2, kix, giSine
    a3  vco2 0.38, ifr * (1 + kv), 12
    a4  vco2 0.16, ifr * 0.5 * (1.002 + kv)
    a4  butterlp a4, 1800
    ae  = 0.35 + 0.65 * exp(-at / 0.5)
    al  = a1 * ae + a3 * 0.8 + a4
    ar  = a2 * ae + a3 * 0.8 + a4
  else                                        ; bell with a crack in it
    kix expseg 4.5, 0.12, 1.4, p3, 0.6
    a1  foscili 0.6, ifr * 1.001, 1, 1.414, kix, giSine
    a2  foscili 0.6, ifr * 0.999, 1, 1.414, kix, giSine
    a3  vco2 0.3, ifr * 0.5, 2, 0.3
    a3  butterlp a3, 2600
    ae  = exp(-at / 0.3)
    al  = tanh(1.8 * (a1 + a3) * ae) * 0.7
    ar  = tanh(1.8 * (a2 + a3) * ae) * 0.7
  endif
  agate linseg 0, 0.003, 1, p3 - 0.043, 1, 0.04, 0
  ipl   = cos((p7 + 1) * $M_PI / 4) * 1.414
  ipr   = sin((p7 + 1) * $M_PI / 4) * 1.414
  al    butterhp al * agate * p4 * ipl, 180
  ar    butterhp ar * agate * p4 * ipr, 180
  gaHookL += al
  gaHookR += ar
  gaDlyL += al * 0.22
  gaDlyR += ar * 0.22
  gaRevL += al * 0.2
  gaRevR += ar * 0.2
endin

; --- the desk --------------------------------------------------------------

instr Desk
  ; faders
  ifKick = 0.60
  ifSn   = 0.80
  ifHat  = 0.54
  ifBass = 0.44
  ifPad  = 0.18
  ifArp  = 0.95
  ifHook = 0.25
  ifFx   = 0.50
  ifDly  = 1.00
  ifRev  = 1.00

  kroom port gkRoom, 0.06
  aduck interp gkDuck
  aduck tone aduck, 60

  ; drums
  kdc   chnget "drumcut"
  akick = gaKick * ifKick
  asnl  butterlp gaSnL, limit(kdc, 200, 19500)
  asnr  butterlp gaSnR, limit(kdc, 200, 19500)
  ahtl  butterlp gaHatL, limit(kdc * 2.4, 200, 19500)
  ahtr  butterlp gaHatR, limit(kdc * 2.4, 200, 19500)
  asnl  = tanh(1.1 * asnl) * ifSn
  asnr  = tanh(1.1 * asnr) * ifSn
  ahtl  = tanh(ahtl) * ifHat * (1 - 0.2 * aduck)
  ahtr  = tanh(ahtr) * ifHat * (1 - 0.2 * aduck)

  ; bass: mono, gives way to the kick
  abass butterhp gaBass, 34
  abass = tanh(1.3 * abass) / 1.3
  abass = abass * (1 - 0.82 * aduck) * ifBass

  ; pads: a hole where the voice speaks, deeper while it does
  kpl   chnget "padlevel"
  kdip  = 0.42 - 0.16 * kroom
  apl   butterhp gaPadL, 130
  apr   butterhp gaPadR, 130
  apl   pareq apl, 1050, kdip, 0.42
  apr   pareq apr, 1050, kdip, 0.42
  apl   = apl * (1 - 0.62 * aduck) * ifPad * kpl
  apr   = apr * (1 - 0.62 * aduck) * ifPad * kpl

  ; arpeggio
  karp  = 1 - 0.45 * kroom
  aal   pareq gaArpL, 1200, 0.8 - 0.25 * kroom, 0.5
  aar   pareq gaArpR, 1200, 0.8 - 0.25 * kroom, 0.5
  aal   = aal * (1 - 0.35 * aduck) * ifArp * karp
  aar   = aar * (1 - 0.35 * aduck) * ifArp * karp

  ; hook
  khk   = 1 - 0.35 * kroom
  ahl   = gaHookL * (1 - 0.18 * aduck) * ifHook * khk
  ahr   = gaHookR * (1 - 0.18 * aduck) * ifHook * khk

  afl   = gaFxL * ifFx
  afr   = gaFxR * ifFx

  ; delay: dotted eighth, from side to side
  itime = giStep * 3
  adl   init 0
  adr   init 0
  ail   butterhp gaDlyL * ifHook + adr * 0.46, 420
  air   butterhp gaDlyR * ifHook + adl * 0.46, 420
  ail   butterlp ail, 4600
  air   butterlp air, 4600
  adl   delay ail, itime
  adr   delay air, itime
  kwet  = 1 - 0.4 * kroom
  aol   = adl * ifDly * kwet * (1 - 0.3 * aduck)
  aor   = adr * ifDly * kwet * (1 - 0.3 * aduck)

  ; reverb
  arl   butterhp gaRevL * 0.5 + adl * 0.15, 240
  arr   butterhp gaRevR * 0.5 + adr * 0.15, 240
  arl   delay arl, 0.018
  arr   delay arr, 0.023
  avl, avr reverbsc arl, arr, 0.80, 8200, sr, 0.4, 1
  avl   = avl * ifRev * (1 - 0.25 * kroom) * (1 - 0.3 * aduck)
  avr   = avr * ifRev * (1 - 0.25 * kroom) * (1 - 0.3 * aduck)

  ; sum, a gentle saturation, the level of the whole
  aml   = akick + asnl + ahtl + abass + apl + aal + ahl + afl + aol + avl
  amr   = akick + asnr + ahtr + abass + apr + aar + ahr + afr + aor + avr
  aml   = tanh(0.9 * aml) / 0.9
  amr   = tanh(0.9 * amr) / 0.9
  aml   butterhp aml, 22                      ; no rumble, no direct current
  amr   butterhp amr, 22
  klev  chnget "level"
  alev  interp klev
  alev  = alev * linseg:a(1, p3 - 0.06, 1, 0.06, 0)
  outs  aml * alev, amr * alev

#ifdef STEMS
  fout "stem_kick.wav", 16, akick, akick
  fout "stem_snare.wav", 16, asnl, asnr
  fout "stem_hat.wav", 16, ahtl, ahtr
  fout "stem_bass.wav", 16, abass, abass
  fout "stem_pad.wav", 16, apl, apr
  fout "stem_arp.wav", 16, aal, aar
  fout "stem_hook.wav", 16, ahl, ahr
  fout "stem_fx.wav", 16, afl, afr
  fout "stem_space.wav", 16, aol + avl, aor + avr
#end

  gaKick = 0
  clear gaSnL, gaSnR, gaHatL, gaHatR, gaPadL, gaPadR, gaArpL, gaArpR
  clear gaHookL, gaHookR, gaFxL, gaFxR, gaDlyL, gaDlyR, gaRevL, gaRevR
  clear gaBass
  gkDuck = 0
  gkRoom = 0
endin
