/** Sizes of the grid, in pixels. */
export interface Geometry {
  readonly header: number;
  readonly ruler: number;
  readonly row: number;
  readonly pixelsPerHour: number;
  readonly tile: number;
}

const phone: Geometry = { header: 100, ruler: 44, row: 56, pixelsPerHour: 264, tile: 32 };
const desk: Geometry = { header: 220, ruler: 44, row: 56, pixelsPerHour: 360, tile: 32 };
const television: Geometry = { header: 320, ruler: 64, row: 88, pixelsPerHour: 480, tile: 56 };

/** @param width  of the grid @param isShow  it is looked at from across the room */
export const geometryOf = (width: number, isShow: boolean): Geometry => (width < 640 ? phone : isShow ? television : desk);

/** Where the time shown begins so that a time is well in sight: at a half hour, 15 to 45 minutes before it. */
export const leadIn = (time: number): number => Math.floor((time - 900) / 1800) * 1800;
